// Line charts: panels with axes, ticks, a legend, drawn with OpenCV.
#pragma once

#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace eishost {

enum class LineStyle { kSolid, kDashed };

struct Series {
    std::string name;  // in the legend; empty for none
    std::vector<cv::Point2d> points;
    cv::Scalar color;  // BGR
    LineStyle style = LineStyle::kSolid;
};

struct Panel {
    std::string title;
    std::string xLabel;
    std::string yLabel;
    std::vector<Series> series;
    double maxX = 1;  // the axes run from 0
    double maxY = 1;
    std::vector<Series> guides;  // thin and grey, behind the series and cut at the frame
    std::string message;         // in the middle, where there is little to see
};

struct Chart {
    std::string title;
    std::vector<std::string> notes;  // lines below the title
    std::vector<Panel> panels;
    int columns = 2;
};

// Colours that people with any colour vision tell apart, by number; six, then from the start.
cv::Scalar chartColor(int index);

// 800 x 520 pixels a panel, 8-bit BGR on white.
cv::Mat drawChart(const Chart& chart);

}  // namespace eishost
