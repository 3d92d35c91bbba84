#include "host/report/truth_scores.h"

#include <filesystem>

namespace eishost {

TruthScorer::TruthScorer(const std::string& referencePath, FrameSource& source) {
    const std::filesystem::path folder = std::filesystem::path(referencePath).parent_path();
    folder_ = folder.empty() ? "." : folder.string();
    truth_ = loadTruth(folder_);
    if (!truth_) return;
    reference_ = truth_->find(referencePath);
    if (reference_ != nullptr) clean_ = source.load((folder / reference_->clean).string());
}

void TruthScorer::score(FrameReport& report, const std::string& framePath, const Picture& frame) const {
    if (reference_ == nullptr) return;
    const FrameTruth* const known = truth_->find(framePath);
    if (known == nullptr) return;
    const cv::Mat mover = moverArea(folder_, *reference_, *known, {frame.width, frame.height});
    scoreFrame(report, frame, clean_, homographyBetween(*reference_, *known), mover);
}

}  // namespace eishost
