#include "host/picture/caption.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>

namespace eishost {

namespace {

constexpr int kLeastWidth = 900;  // narrower pictures are enlarged, so that the text fits
constexpr int kLargestWidth = 1600;
constexpr int kMargin = 16;
constexpr int kLine = 30;
constexpr int kSample = 24;  // a legend's patch of colour
constexpr double kTitleSize = 0.8;
constexpr double kTextSize = 0.6;
constexpr double kLegendSize = 0.55;
constexpr int kFont = cv::FONT_HERSHEY_DUPLEX;
const cv::Scalar kTextColour(235, 235, 235);
const cv::Scalar kWarningColour(70, 70, 255);
const cv::Scalar kStripColour(32, 32, 32);

int textWidth(const std::string& text, double size) {
    return cv::getTextSize(text, kFont, size, 1, nullptr).width;
}

void write(cv::Mat& strip, const std::string& text, cv::Point at, double size, const cv::Scalar& colour) {
    const int space = std::max(1, strip.cols - kMargin - at.x);
    const int width = textWidth(text, size);
    cv::putText(strip, text, at, kFont, width > space ? size * space / width : size, colour, 1, cv::LINE_AA);
}

// Calls draw with each entry and its place; returns the base line of the last. An entry without a label is the remark.
template <class Draw>
int layLegend(const Caption& caption, int width, int base, Draw draw) {
    int x = kMargin;
    const auto lay = [&](const LegendEntry* entry, const std::string& label) {
        const int needed = (entry != nullptr ? kSample + 8 : 0) + textWidth(label, kLegendSize);
        if (x > kMargin && x + needed > width - kMargin) {
            x = kMargin;
            base += kLine;
        }
        draw(entry, label, cv::Point(x, base));
        x += needed + 28;
    };
    for (const LegendEntry& entry : caption.legend) lay(&entry, entry.label);
    if (!caption.remark.empty()) lay(nullptr, caption.remark);
    return base;
}

}  // namespace

const cv::Scalar kMoverColour(255, 255, 255);

double drawingScale(int width) {
    return static_cast<double>(std::clamp(width, kLeastWidth, kLargestWidth)) / width;
}

cv::Mat scaledPicture(const cv::Mat& picture, double scale) {
    cv::Mat scaled;
    const cv::Size size(std::max(1, cvRound(picture.cols * scale)), std::max(1, cvRound(picture.rows * scale)));
    cv::resize(picture, scaled, size, 0, 0, scale < 1 ? cv::INTER_AREA : cv::INTER_LINEAR);
    return scaled;
}

void drawMover(cv::Mat& picture, const cv::Mat& mover) {
    std::vector<std::vector<cv::Point>> outlines;
    cv::findContours(mover > 127, outlines, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE);
    cv::drawContours(picture, outlines, -1, kMoverColour, 2, cv::LINE_AA);
    std::vector<cv::Rect> labels;
    for (const std::vector<cv::Point>& outline : outlines) {
        const cv::Rect box = cv::boundingRect(outline);
        const cv::Rect above(box.x, box.y - kLine, textWidth("mover", kLegendSize), kLine);
        const bool fits = above.y >= 0 && std::none_of(labels.begin(), labels.end(), [&](const cv::Rect& label) {
                              return (label & above).area() > 0;
                          });
        labels.push_back(fits ? above : above + cv::Point(0, box.height + kLine));
        cv::putText(picture, "mover", labels.back().tl() + cv::Point(0, kLine - 9), kFont, kLegendSize, kMoverColour, 1,
                    cv::LINE_AA);
    }
}

cv::Mat withCaption(const cv::Mat& picture, const Caption& caption) {
    const int afterLines = kLine * (1 + static_cast<int>(caption.lines.size()));
    int last = afterLines;
    const bool hasLegend = !caption.legend.empty() || !caption.remark.empty();
    if (hasLegend) last = layLegend(caption, picture.cols, afterLines + kLine, [](auto, const auto&, auto) {});

    cv::Mat canvas(last + kMargin + picture.rows, picture.cols, CV_8UC3, kStripColour);
    picture.copyTo(canvas.rowRange(canvas.rows - picture.rows, canvas.rows));
    int base = kLine;
    write(canvas, caption.title, {kMargin, base}, kTitleSize, caption.titleWarns ? kWarningColour : kTextColour);
    int column = kMargin;
    for (const CaptionLine& line : caption.lines) {
        if (!line.label.empty()) column = std::max(column, 2 * kMargin + textWidth(line.label, kTextSize));
    }
    for (const CaptionLine& line : caption.lines) {
        base += kLine;
        write(canvas, line.label, {kMargin, base}, kTextSize, kTextColour);
        write(canvas, line.text, {column, base}, kTextSize, caption.linesWarn ? kWarningColour : kTextColour);
    }
    layLegend(caption, picture.cols, base + kLine,
              [&](const LegendEntry* entry, const std::string& label, cv::Point at) {
                  if (entry != nullptr) {
                      cv::rectangle(canvas, cv::Rect(at.x, at.y - 14, kSample, 16), entry->colour, cv::FILLED);
                      at.x += kSample + 8;
                  }
                  write(canvas, label, at, kLegendSize, entry != nullptr ? kTextColour : kTextColour * 0.7);
              });
    return canvas;
}

}  // namespace eishost
