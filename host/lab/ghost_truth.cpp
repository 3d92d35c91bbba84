#include "host/lab/ghost_truth.h"

#include <filesystem>
#include <fstream>

#include "host/program/exit_codes.h"
#include "host/synth/synth_truth.h"

namespace eislab {

namespace {

namespace fs = std::filesystem;
using eishost::FrameTruth;
using eishost::HostError;

struct AlignedFrame {
    std::string name;  // of the frame before it was aligned
    cv::Rect filled;
};

// What eis-host burst noted of an aligned picture; nothing when it is none, or was refused.
std::optional<AlignedFrame> alignedFrame(const fs::path& picture) {
    const fs::path resultPath = picture.parent_path() / "result.json";
    std::ifstream file(resultPath);
    if (!file) return std::nullopt;
    try {
        const nlohmann::json result = nlohmann::json::parse(file);
        for (const nlohmann::json& frame : result.at("frames")) {
            const nlohmann::json& aligned = frame.at("files").at("aligned");
            const nlohmann::json& area = frame.at("rectangle");
            if (!aligned.is_string() || fs::path(aligned).filename() != picture.filename() || area.is_null()) continue;
            return AlignedFrame{frame.at("frame"), {area.at("x"), area.at("y"), area.at("width"), area.at("height")}};
        }
    } catch (const nlohmann::json::exception&) {
        throw HostError(eishost::kExitUnreadable, resultPath.string() + ": damaged");
    }
    return std::nullopt;
}

}  // namespace

std::optional<GhostTruth> findGhostTruth(const std::string& frame, const std::string& reference, cv::Size size) {
    const fs::path folder = fs::path(reference).parent_path();
    const std::optional<eishost::BurstTruth> truth = eishost::loadTruth(folder.empty() ? "." : folder.string());
    if (!truth) return std::nullopt;
    const FrameTruth* const referenceTruth = truth->find(reference);
    const std::optional<AlignedFrame> aligned = alignedFrame(frame);
    if (referenceTruth == nullptr || !aligned) return std::nullopt;
    const FrameTruth* const frameTruth = truth->find(aligned->name);
    if (frameTruth == nullptr) return std::nullopt;
    const cv::Mat mover = eishost::moverArea(folder.string(), *referenceTruth, *frameTruth, size);
    if (mover.empty()) return std::nullopt;
    return GhostTruth{mover, aligned->filled & cv::Rect(cv::Point(), size)};
}

GhostScores scoreGhosts(const cv::Mat& mask, const GhostTruth& truth) {
    const cv::Mat masked = mask(truth.filled) > 127;
    const cv::Mat mover = truth.mover(truth.filled);
    const double object = std::max(1, cv::countNonZero(mover));
    const double area = std::max(1, truth.filled.area());
    return {cv::countNonZero(masked & mover) / object, cv::countNonZero(masked & ~mover) / area};
}

}  // namespace eislab
