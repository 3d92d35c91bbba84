#include "host/report/overlay.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <opencv2/imgproc.hpp>
#include <unordered_set>
#include <vector>

#include "host/picture/caption.h"
#include "host/picture/picture.h"

namespace eishost {

namespace {

constexpr std::size_t kMostDrawn = 700;

// Blue, green, red; told apart with every common colour vision.
const cv::Scalar kKeptColour(60, 220, 60);
const cv::Scalar kDroppedColour(70, 70, 255);
const cv::Scalar kAreaColour(0, 215, 255);
const cv::Scalar kMirrorColour(230, 120, 40);

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

struct PairStyle {
    cv::Scalar colour;
    int thickness;
    double weight;  // with which lines are mixed into the picture; dots are solid
};

// Every pair whose place in the list is a multiple of `step`, with coordinates multiplied by `scale`.
void drawPairs(cv::Mat& canvas, const std::vector<Pair>& pairs, std::size_t step, double scale,
               const PairStyle& style) {
    cv::Mat lines = canvas.clone();
    for (std::size_t i = 0; i < pairs.size(); i += step) {
        cv::line(lines, pairs[i].ref * scale, pairs[i].cur * scale, style.colour, style.thickness, cv::LINE_AA);
    }
    cv::addWeighted(lines, style.weight, canvas, 1 - style.weight, 0, canvas);
    for (std::size_t i = 0; i < pairs.size(); i += step) {
        cv::circle(canvas, pairs[i].ref * scale, 1 + style.thickness, style.colour, cv::FILLED, cv::LINE_AA);
    }
}

void shadeMargin(cv::Mat& canvas, const cv::Rect& area) {
    cv::Mat shaded;
    cv::addWeighted(canvas, 0.55, cv::Mat(canvas.size(), canvas.type(), kMirrorColour), 0.45, 0, shaded);
    canvas(area).copyTo(shaded(area));
    canvas = shaded;
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

Caption captionOf(const FrameReport& report, const std::string& referenceName, std::size_t dropped, std::size_t step) {
    Caption caption;
    caption.title = headline(report, referenceName);
    caption.titleWarns = report.refusal.has_value();
    caption.lines = {{"", numbers(report)}};
    caption.linesWarn = report.refusal || !report.cornersHeld();
    caption.legend = {{kKeptColour, "kept pairs " + std::to_string(report.outcome.keptRef.size())},
                      {kDroppedColour, "dropped " + std::to_string(dropped)}};
    if (report.area) {
        caption.legend.push_back({kAreaColour, "filled from the frame"});
        caption.legend.push_back({kMirrorColour, "mirrored"});
    }
    if (!report.mover.empty()) caption.legend.push_back({kMoverColour, "mover, then and in the reference"});
    caption.remark = "(dot: reference, line end: frame" +
                     (step > 1 ? ", one pair in " + std::to_string(step) + " drawn" : std::string()) + ")";
    return caption;
}

}  // namespace

cv::Mat drawOverlay(const FrameReport& report, const std::string& referenceName) {
    const double scale = drawingScale(report.outcome.aligned.width);
    cv::Mat shown = scaledPicture(bgrFromPicture(report.outcome.aligned), scale) * 0.65;  // lines stand out on it

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
    // One step for both: their shares are to be seen.
    const std::size_t step = std::max(kept.size(), dropped.size()) / kMostDrawn + 1;
    drawPairs(shown, dropped, step, scale, {kDroppedColour, 1, 0.5});
    drawPairs(shown, kept, step, scale, {kKeptColour, report.refusal ? 1 : 2, 1});
    if (report.area) cv::rectangle(shown, area, kAreaColour, 2);
    if (!report.mover.empty()) drawMover(shown, scaledPicture(report.mover, scale));
    return withCaption(shown, captionOf(report, referenceName, dropped.size(), step));
}

void saveOverlay(const std::string& path, const FrameReport& report, const std::string& referenceName) {
    saveBgr(path, drawOverlay(report, referenceName));
}

}  // namespace eishost
