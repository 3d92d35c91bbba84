#include "host/merge/merge_truth.h"

#include <filesystem>

#include "host/picture/metrics.h"
#include "host/program/exit_codes.h"
#include "host/synth/synth_truth.h"

namespace eishost {

MergeTruth::MergeTruth(const std::string& folder, const std::string& reference, const std::vector<std::string>& frames,
                       FrameSource source) {
    const std::optional<BurstTruth> truth = loadTruth(folder);
    if (!truth) throw HostError(kExitUnreadable, folder + ": holds no truth.json");
    const FrameTruth* const known = truth->find(reference);
    if (known == nullptr) throw HostError(kExitUnsuitable, folder + ": its truth.json does not know " + reference);
    clean_ = source.load((std::filesystem::path(folder) / known->clean).string());
    movers_ = cv::Mat::zeros(clean_.height, clean_.width, CV_8U);
    for (const std::string& name : frames) {
        const FrameTruth* const frame = truth->find(name);
        if (frame == nullptr) continue;
        const cv::Mat area = moverArea(folder, *known, *frame, movers_.size());
        if (!area.empty()) movers_ |= area;
    }
}

MergeScores MergeTruth::score(const Picture& picture) const {
    const cv::Rect all(0, 0, picture.width, picture.height);
    MergeScores scores;
    scores.lumaOutside = planePsnr(picture.mat(0), clean_.mat(0), all, movers_ == 0);
    if (cv::countNonZero(movers_) > 0) scores.lumaInside = planePsnr(picture.mat(0), clean_.mat(0), all, movers_);
    scores.everywhere = pictureQuality(picture, clean_, all);
    return scores;
}

void to_json(nlohmann::ordered_json& json, const MergeScores& scores) {
    json = {{"psnrYOutsideMover", finiteOrNull(scores.lumaOutside)},
            {"psnrYInMoverArea", finiteOrNull(scores.lumaInside)},
            {"everywhere", nlohmann::json(scores.everywhere)}};
}

}  // namespace eishost
