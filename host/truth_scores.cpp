#include "host/truth_scores.h"

#include <filesystem>

namespace eishost {

TruthScorer::TruthScorer(const std::string& referencePath, FrameSource& source) {
    const std::filesystem::path folder = std::filesystem::path(referencePath).parent_path();
    truth_ = loadTruth(folder.empty() ? "." : folder.string());
    if (!truth_) return;
    reference_ = truth_->find(referencePath);
    if (reference_ != nullptr) clean_ = source.load((folder / reference_->clean).string());
}

void TruthScorer::score(FrameReport& report, const std::string& framePath, const Picture& frame) const {
    if (reference_ == nullptr) return;
    const FrameTruth* const known = truth_->find(framePath);
    if (known != nullptr) scoreFrame(report, frame, clean_, homographyBetween(*reference_, *known));
}

}  // namespace eishost
