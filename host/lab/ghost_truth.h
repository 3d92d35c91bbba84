// What is known of the moving object in a frame that eis-host burst laid onto the reference of a synthetic burst, and
// how a mask does against it.
#pragma once

#include <nlohmann/json.hpp>
#include <opencv2/core.hpp>
#include <optional>
#include <string>

namespace eislab {

struct GhostTruth {
    cv::Mat mover;    // 255 where the object is, in the frame or in the reference; 8 bits, the reference's positions
    cv::Rect filled;  // the part that registration filled from the frame; the rest is a mirror image
};

// From the truth.json beside the reference and, for an aligned picture, the result.json beside the frame. Nothing
// without both, for a frame in which nothing moves by itself, and for one that was not aligned.
// HostError(kExitUnreadable) for files that are damaged.
std::optional<GhostTruth> findGhostTruth(const std::string& frame, const std::string& reference, cv::Size size);

// Inside the filled part. A pixel counts as masked above 127.
struct GhostScores {
    double recall;     // share of the object that is masked
    double falseArea;  // share of the filled part that is masked and not the object's
};
GhostScores scoreGhosts(const cv::Mat& mask, const GhostTruth& truth);

}  // namespace eislab
