// A picture of what registration did to a frame.
#pragma once

#include <opencv2/core.hpp>
#include <string>

#include "host/report/frame_report.h"

namespace eishost {

// The aligned (or, after a refusal, the copied) picture, at most 1600 pixels wide, under a strip with the numbers and
// the legend: the pairs that the library kept and dropped, each a line from its reference position to its position in
// the frame, the filled rectangle, the mirrored margin shaded, and the outline of a known mover. Of many pairs an even
// choice is drawn, of both kinds the same share. 8-bit BGR.
cv::Mat drawOverlay(const FrameReport& report, const std::string& referenceName);

// Writes drawOverlay's picture; HostError(kExitUsage) for an extension that is not .png, .jpg or .jpeg,
// HostError(kExitUnwritable).
void saveOverlay(const std::string& path, const FrameReport& report, const std::string& referenceName);

}  // namespace eishost
