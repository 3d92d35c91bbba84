#include "host/merge/merge_page.h"

#include <filesystem>
#include <opencv2/imgproc.hpp>

#include "host/report/overlay.h"

namespace eishost {

namespace {

const cv::Scalar kGhostColour(0, 140, 255);  // BGR
constexpr double kGhostWeight = 0.6;

std::string fileName(const std::string& path) {
    return std::filesystem::path(path).filename().string();
}

std::string titleOf(const std::string& stage, int frames) {
    if (stage == "reference") return "Reference";
    if (stage == "mean") return "Aligned mean of " + std::to_string(frames);
    return stage == "merged" ? "Merged" : "Merged, denoised";
}

cv::Mat withGhosts(const Picture& picture, const cv::Mat& ghosts) {
    const cv::Mat bgr = bgrFromPicture(picture);
    cv::Mat coloured;
    cv::addWeighted(bgr, 1 - kGhostWeight, cv::Mat(bgr.size(), bgr.type(), kGhostColour), kGhostWeight, 0, coloured);
    bgr.copyTo(coloured, ghosts == 0);
    return coloured;
}

// What --json prints of a frame that is not in the merged picture.
nlohmann::json leftOutFrame(const BurstMember& member) {
    nlohmann::json frame{{"frame", member.name}};
    if (member.report) frame = *member.report;
    frame["aligned"] = false;
    if (frame.value("refusal", nlohmann::json()).is_null()) frame["refusal"] = {{"reason", member.leftOut}};
    return frame;
}

void addFrames(Page& page, const BurstInput& input) {
    auto next = input.members().begin();
    const auto addLeftOut = [&] {
        for (; next != input.members().end(); ++next) {
            if (&*next == &input.referenceMember()) continue;
            if (next->leftOut.empty()) return;
            std::vector<std::pair<std::string, cv::Mat>> pictures;
            if (!next->asItCame.empty()) pictures.emplace_back("as it came", next->asItCame);
            page.addFrame(leftOutFrame(*next), pictures);
        }
    };
    const std::string reference = fileName(input.referenceMember().name);
    input.readAgain([&](AlignedFrame&& frame) {
        addLeftOut();
        FrameReport report = *next->report;
        report.outcome.aligned = std::move(frame.picture);
        std::vector<std::pair<std::string, cv::Mat>> pictures{{"aligned", bgrFromPicture(report.outcome.aligned)},
                                                              {"matches", drawOverlay(report, reference)}};
        if (!frame.ghosts.empty()) pictures.emplace_back("ghosts", withGhosts(report.outcome.aligned, frame.ghosts));
        page.addFrame(report, pictures);
        ++next;
    });
    addLeftOut();
}

void addWeightMap(Page& page, const cv::Mat& held, int frames) {
    cv::Mat grey;
    held.convertTo(grey, CV_8U, 255.0 / (frames - 1), -255.0 / (frames - 1));
    cv::Mat map;
    cv::applyColorMap(grey, map, cv::COLORMAP_VIRIDIS);
    char text[120];
    std::snprintf(text, sizeof text, "yellow: all %d, dark violet: the reference alone; %.1f on average.", frames,
                  cv::mean(held)[0]);
    page.addMap("Frames that each place holds", text, map);
}

}  // namespace

void writeMergePage(Page& page, const BurstInput& input, const MergeResult& result, const MergeTruth* truth,
                    nlohmann::ordered_json& json) {
    const int frames = input.mergeable() + 1;
    if (truth != nullptr) page.setTruth(truth->clean(), truth->movers());
    for (const auto& [name, picture] : stagePictures(input, result)) {
        page.addVersion(name, titleOf(name, frames), picture);
    }
    addFrames(page, input);
    if (frames > 1) addWeightMap(page, result.held, frames);
    json["report"] = page.figures();
    page.write(json);
}

}  // namespace eishost
