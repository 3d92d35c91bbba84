#include "host/motion/steady_report.h"

#include <algorithm>
#include <cstdio>
#include <vector>

namespace eishost {

nlohmann::ordered_json frameJson(const SteadyFrame& frame) {
    const auto numbers = [](const cv::Matx33d& matrix) { return std::vector<double>(matrix.val, matrix.val + 9); };
    return {{"frame", frame.number},
            {"motion", numbers(frame.motion.fromPrevious)},
            {"correction", numbers(frame.correction)},
            {"reliable", frame.motion.reliable},
            {"cut", frame.motion.cut},
            {"refused", frame.refused},
            {"border", frame.border}};
}

void SteadySummary::add(const SteadyFrame& frame) {
    std::optional<cv::Matx33d> motion;
    if (frames_ > 0 && !frame.motion.cut) motion = frame.motion.fromPrevious;
    before_.add(motion, cv::Matx33d::eye());
    after_.add(motion, frame.correction);
    ++frames_;
    cuts_ += frame.motion.cut ? 1 : 0;
    unreliable_ += frame.motion.reliable ? 0 : 1;
    refused_ += frame.refused ? 1 : 0;
    border_ += frame.border;
    mostBorder_ = std::max(mostBorder_, frame.border);
}

double SteadySummary::each(double sum) const {
    return frames_ > 0 ? sum / static_cast<double>(frames_) : 0;
}

nlohmann::ordered_json SteadySummary::json(const StabilizerTimes& times) const {
    return {{"frames", frames_},
            {"width", frame_.width},
            {"height", frame_.height},
            {"zoom", zoom_},
            {"shake", {{"before", before_.value()}, {"after", after_.value()}}},
            {"border", {{"mean", each(border_)}, {"most", mostBorder_}}},
            {"cuts", cuts_},
            {"unreliable", unreliable_},
            {"refused", refused_},
            {"cpuMsPerFrame",
             {{"all", each(cpuMilliseconds() - start_)},
              {"motion", each(times.motion)},
              {"path", each(times.path)},
              {"library", each(times.library)}}}};
}

std::string SteadySummary::text(const StabilizerTimes& times) const {
    char line[600];
    std::snprintf(line, sizeof line,
                  "frames      %zu of %dx%d, %zu cuts, %zu without a reliable motion, %zu refused by the library\n"
                  "shake       %.3f > %.3f px, the content's acceleration as the tracked motion has it\n"
                  "frame       zoom %.3f, border %.2f%% on average, %.2f%% at most\n"
                  "time        %.1f ms of CPU a frame: motion %.1f ms, path %.1f ms, the library's warp %.1f ms\n",
                  frames_, frame_.width, frame_.height, cuts_, unreliable_, refused_, before_.value(), after_.value(),
                  zoom_, 100 * each(border_), 100 * mostBorder_, each(cpuMilliseconds() - start_), each(times.motion),
                  each(times.path), each(times.library));
    return line;
}

}  // namespace eishost
