// A picture of what ghost detection found.
#pragma once

#include <opencv2/core.hpp>
#include <optional>

#include "host/lab/ghost_truth.h"
#include "host/picture/caption.h"
#include "host/picture/picture.h"

namespace eislab {

// The frame, darker, with ghosts in orange, the outlines of the true object in white and of the filled area in grey,
// under a strip with the caption and the legend. `mask` has the frame's size. 8-bit BGR.
cv::Mat ghostOverlay(const eishost::Picture& frame, const cv::Mat& mask, const std::optional<GhostTruth>& truth,
                     eishost::Caption caption);

}  // namespace eislab
