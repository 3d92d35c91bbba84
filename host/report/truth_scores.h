// Scores of registered frames against the truth of a synthetic burst.
#pragma once

#include <cstdio>
#include <optional>
#include <string>

#include "host/match/frame_source.h"
#include "host/report/frame_report.h"
#include "host/synth/synth_truth.h"

namespace eishost {

class TruthScorer {
  public:
    // Looks for a truth.json beside the reference that knows it. Without one, nothing is scored. HostError for a truth
    // that is damaged or whose clean reference cannot be read. `source` brings the clean reference to the frames' size.
    TruthScorer(const std::string& referencePath, FrameSource& source);

    // Scores a frame that the truth knows; others stay as they are. HostError for masks of the moving object that
    // cannot be read.
    void score(FrameReport& report, const std::string& framePath, const Picture& frame) const;

    // The clean reference, or null.
    const Picture* clean() const { return reference_ != nullptr ? &clean_ : nullptr; }

  private:
    std::string folder_;
    std::optional<BurstTruth> truth_;
    const FrameTruth* reference_ = nullptr;
    Picture clean_;
};

}  // namespace eishost
