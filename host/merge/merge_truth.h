// A merged picture held against the truth of a synthetic burst.
#pragma once

#include <nlohmann/json.hpp>
#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <vector>

#include "host/match/frame_source.h"
#include "host/picture/metrics.h"
#include "host/picture/picture.h"

namespace eishost {

struct MergeScores {
    double lumaOutside = 0;            // PSNR in dB, where the mover never was
    std::optional<double> lumaInside;  // and where it was in any frame
    PictureQuality everywhere;
};

class MergeTruth {
  public:
    // Reads the truth.json of `folder`. HostError when there is none, when it does not know the reference, or when one
    // of its pictures cannot be read.
    MergeTruth(const std::string& folder, const std::string& reference, const std::vector<std::string>& frames,
               FrameSource source);

    MergeScores score(const Picture& picture) const;
    const Picture& clean() const { return clean_; }
    const cv::Mat& movers() const { return movers_; }  // 8-bit, not 0 where an object is in any frame; may be empty

  private:
    Picture clean_;
    cv::Mat movers_;
};

void to_json(nlohmann::ordered_json& json, const MergeScores& scores);

}  // namespace eishost
