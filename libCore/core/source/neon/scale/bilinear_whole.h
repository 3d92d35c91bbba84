// Bilinear scaling by 1/2, 1 and 2, where all samples of a row have the same few weights.
#pragma once

#include <cstdint>

namespace eis {

// Scales an unpadded plane as ScaleUnpadded does, if its sizes stand in such a ratio. Returns whether they do.
bool ScaleWholeRatio(const uint8_t* src, int srcW, int srcH, int64_t srcPitch, uint8_t* dst, int dstW, int dstH,
                     int dstPitch);

}  // namespace eis
