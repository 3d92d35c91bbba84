#include "host/overlay.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <opencv2/imgproc.hpp>
#include <unordered_set>
#include <vector>

#include "host/picture.h"

namespace eishost {

namespace {

constexpr int kLargestWidth = 1600;
constexpr int kLeastWidth = 900;  // narrower pictures are enlarged, so that the text fits
constexpr std::size_t kMostDrawn = 700;
constexpr int kStrip = 108;
constexpr int kMargin = 16;
constexpr int kFont = cv::FONT_HERSHEY_DUPLEX;

// Blue, green, red; told apart with every common colour vision.
const cv::Scalar kKeptColour(60, 220, 60);
const cv::Scalar kDroppedColour(70, 70, 255);
const cv::Scalar kAreaColour(0, 215, 255);
const cv::Scalar kMirrorColour(230, 120, 40);
const cv::Scalar kTextColour(235, 235, 235);
const cv::Scalar kStripColour(32, 32, 32);

struct Pair {
    cv::Point2f ref;
    cv::Point2f cur;
};

std::uint64_t keyOf(const cv::Point2f& point) {
    return static_cast<std::uint64_t>(point.x * kKeypointUnits) << 32 |
           static_cast<std::uint32_t>(point.y * kKeypointUnits);
}

// The best candidate of each reference keypoint, unless the library kept it.
std::vector<Pair> droppedPairs(const FrameReport& report) {
    std::unordered_set<std::uint64_t> kept;
    for (const cv::Point2f& point : report.outcome.keptRef) kept.insert(keyOf(point));
    const MatchTables& tables = report.matches;
    const auto point = [](const std::vector<std::int32_t>& table, int row) {
        return cv::Point2f(static_cast<float>(table[3 * row]), static_cast<float>(table[3 * row + 1])) / kKeypointUnits;
    };
    std::vector<Pair> dropped;
    for (int i = 0; i < tables.entries(); ++i) {
        if (i > 0 && tables.refIndex[i] == tables.refIndex[i - 1]) continue;
        const Pair pair{point(tables.refKeypoints, tables.refIndex[i]), point(tables.curKeypoints, tables.curIndex[i])};
        if (kept.count(keyOf(pair.ref)) == 0) dropped.push_back(pair);
    }
    return dropped;
}

std::size_t drawnStep(std::size_t pairs) {
    return pairs / kMostDrawn + 1;
}

// Lines are mixed into the picture with `weight`, dots are solid.
void drawPairs(cv::Mat& canvas, const std::vector<Pair>& pairs, double scale, const cv::Scalar& colour, int thickness,
               double weight) {
    const std::size_t step = drawnStep(pairs.size());
    cv::Mat lines = canvas.clone();
    for (std::size_t i = 0; i < pairs.size(); i += step) {
        cv::line(lines, pairs[i].ref * scale, pairs[i].cur * scale, colour, thickness, cv::LINE_AA);
    }
    cv::addWeighted(lines, weight, canvas, 1 - weight, 0, canvas);
    for (std::size_t i = 0; i < pairs.size(); i += step) {
        cv::circle(canvas, pairs[i].ref * scale, 1 + thickness, colour, cv::FILLED, cv::LINE_AA);
    }
}

void shadeMargin(cv::Mat& canvas, const cv::Rect& area) {
    cv::Mat shaded;
    cv::addWeighted(canvas, 0.55, cv::Mat(canvas.size(), canvas.type(), kMirrorColour), 0.45, 0, shaded);
    canvas(area).copyTo(shaded(area));
    canvas = shaded;
}

// Text shrinks to what is left of the line. Returns the column where it ends.
int write(cv::Mat& canvas, const std::string& text, cv::Point at, double size, const cv::Scalar& colour) {
    const int width = cv::getTextSize(text, kFont, size, 1, nullptr).width;
    const int space = std::max(1, canvas.cols - kMargin - at.x);
    const double fitting = width > space ? size * space / width : size;
    cv::putText(canvas, text, at, kFont, fitting, colour, 1, cv::LINE_AA);
    return at.x + std::min(width, space);
}

std::string fixed(double value, int digits) {
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

std::string headline(const FrameReport& report, const std::string& referenceName) {
    return std::filesystem::path(report.frame).filename().string() + " onto " + referenceName +
           (report.refusal ? ": refused" : ": aligned");
}

std::string numbers(const FrameReport& report) {
    if (report.refusal) return "Copied unaligned: " + report.refusal->reason;
    std::string text = "status " + std::to_string(report.outcome.status);
    if (report.area) {
        text += ", filled " + std::to_string(report.area->width) + "x" + std::to_string(report.area->height) + " at (" +
                std::to_string(report.area->x) + ", " + std::to_string(report.area->y) + ")";
    }
    text += ", residual " + fixed(report.residual, 2) + " px";
    if (report.truth && report.truth->corners) {
        text += ", corner error " + fixed(report.truth->corners->largest, 2) + " px";
    }
    if (!report.cornersHeld()) text += ", CORNERS NOT HELD: pairs cover " + fixed(100 * report.coverage, 0) + "%";
    return text;
}

void drawStrip(cv::Mat strip, const FrameReport& report, const std::string& referenceName, std::size_t dropped) {
    const cv::Scalar good = report.refusal ? kDroppedColour : kTextColour;
    write(strip, headline(report, referenceName), {kMargin, 32}, 0.8, good);
    write(strip, numbers(report), {kMargin, 62}, 0.6, report.refusal || !report.cornersHeld() ? good : kTextColour);
    int x = kMargin;
    const auto entry = [&](const cv::Scalar& colour, const std::string& label) {
        cv::rectangle(strip, cv::Rect(x, 78, 24, 16), colour, cv::FILLED);
        x = write(strip, label, {x + 32, 92}, 0.55, kTextColour) + 28;
    };
    entry(kKeptColour, "kept pairs " + std::to_string(report.outcome.keptRef.size()));
    entry(kDroppedColour, "dropped " + std::to_string(dropped));
    if (report.area) {
        entry(kAreaColour, "filled from the frame");
        entry(kMirrorColour, "mirrored");
    }
    const std::size_t step = drawnStep(report.outcome.keptRef.size());
    const std::string share = step > 1 ? ", one kept pair in " + std::to_string(step) + " drawn" : "";
    write(strip, "(dot: reference, line end: frame" + share + ")", {x, 92}, 0.5, kTextColour * 0.7);
}

}  // namespace

cv::Mat drawOverlay(const FrameReport& report, const std::string& referenceName) {
    const cv::Mat picture = bgrFromPicture(report.outcome.aligned);
    const int width = std::clamp(picture.cols, kLeastWidth, kLargestWidth);
    const double scale = static_cast<double>(width) / picture.cols;
    const int height = std::max(1, cvRound(picture.rows * scale));
    cv::Mat shown;
    cv::resize(picture, shown, {width, height}, 0, 0, scale < 1 ? cv::INTER_AREA : cv::INTER_LINEAR);
    shown = shown * 0.65;  // lines stand out on a darker picture

    cv::Rect area;
    if (report.area) {
        area = cv::Rect(cv::Point(cvRound(report.area->x * scale), cvRound(report.area->y * scale)),
                        cv::Point(cvRound(report.area->br().x * scale), cvRound(report.area->br().y * scale))) &
               cv::Rect(cv::Point(), shown.size());
        shadeMargin(shown, area);
    }
    const std::vector<Pair> dropped = droppedPairs(report);
    std::vector<Pair> kept;
    for (std::size_t i = 0; i < report.outcome.keptRef.size(); ++i) {
        kept.push_back({report.outcome.keptRef[i], report.outcome.keptCur[i]});
    }
    drawPairs(shown, dropped, scale, kDroppedColour, 1, 0.5);
    drawPairs(shown, kept, scale, kKeptColour, report.refusal ? 1 : 2, 1);
    if (report.area) cv::rectangle(shown, area, kAreaColour, 2);

    cv::Mat canvas(kStrip + height, width, CV_8UC3, kStripColour);
    shown.copyTo(canvas.rowRange(kStrip, kStrip + height));
    drawStrip(canvas.rowRange(0, kStrip), report, referenceName, dropped.size());
    return canvas;
}

void saveOverlay(const std::string& path, const FrameReport& report, const std::string& referenceName) {
    saveBgr(path, drawOverlay(report, referenceName));
}

}  // namespace eishost
