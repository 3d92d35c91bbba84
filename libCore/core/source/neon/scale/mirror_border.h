// Copies of planes with a mirrored border.
#pragma once

#include <cstdint>

namespace eis {

// Copies a plane to the inside of a tight one that is `border` samples wider and higher on each side, and mirrors it
// there about its edge samples, which are not repeated. Where a plane is too small to mirror, its far edge stands in.
// Nothing is done for an empty plane.
void MirrorBorderCopy(const uint8_t* src, int width, int height, int64_t srcPitch, uint8_t* padded, int border);

}  // namespace eis
