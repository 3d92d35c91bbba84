// Ghost detection on pictures of any size.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

#include "host/lab/ghost_settings.h"
#include "host/picture/picture.h"

namespace eislab {

struct GhostResult {
    cv::Mat mask;              // of the frame's size: 0 as the reference, 255 a ghost
    std::uint32_t pixels = 0;  // by luma
    double share = 0;          // of them in the picture, 0 to 1
    double milliseconds = 0;

    double masked() const { return cv::countNonZero(mask > 127) / static_cast<double>(mask.total()); }
};

// Both pictures have one size. The detector is given pictures with mirrored columns and rows more, and its mask is cut
// back: off the grid of four its mask is sheared, where a quarter of the width is a multiple of 32 it takes the right
// end for a ghost, and off the grid of eight rows its bands compare chroma of other rows than luma.
// HostError(kExitLibrary) when the detector fails.
GhostResult detectGhosts(const eishost::Picture& frame, const eishost::Picture& reference,
                         const GhostSettings& settings);

}  // namespace eislab
