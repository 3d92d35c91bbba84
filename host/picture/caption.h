// Titles, figures and legends above the pictures that the tools draw.
#pragma once

#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace eishost {

struct LegendEntry {
    cv::Scalar colour;  // BGR
    std::string label;
};

struct CaptionLine {
    std::string label;  // labels share a column, which is left out when all are empty
    std::string text;
};

struct Caption {
    std::string title;
    std::vector<CaptionLine> lines;
    std::vector<LegendEntry> legend;
    std::string remark;       // pale, behind the legend
    bool titleWarns = false;  // in red
    bool linesWarn = false;
};

// The size to draw over a picture of this width at: wide enough for text, and at most 1600 pixels wide.
double drawingScale(int width);

// `picture`, 8-bit BGR, scaled by `scale`.
cv::Mat scaledPicture(const cv::Mat& picture, double scale);

// Outlines where `mover` is 255 and writes the name beside it; both pictures have one size.
extern const cv::Scalar kMoverColour;
void drawMover(cv::Mat& picture, const cv::Mat& mover);

// `picture` below a dark strip with the caption. Lines that are too long are set smaller, and a legend goes on in
// another line.
cv::Mat withCaption(const cv::Mat& picture, const Caption& caption);

}  // namespace eishost
