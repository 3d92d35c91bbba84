// Between 8-bit luma and the 16-bit plane that the denoiser works on, which holds samples unscaled and without gaps
// between its rows.
#pragma once

#include <cstdint>

namespace eis {

// The source's pitch is the width rounded up to 128.
void WidenPlane128(const uint8_t* pSrc, int16_t* pDst, int width, int height);

// Saturates at 0 and 255. Neither plane has gaps.
void NarrowPlaneSat(const int16_t* pSrc, uint8_t* pDst, int width, int height);
void NarrowPlaneSat_plain(const int16_t* pSrc, uint8_t* pDst, int width, int height);

// Widens through a 3x3 median of medians: the middle one of the medians of three neighbours in the rows above, at and
// below the sample. That is not always the median of the nine. The outermost rows and columns are only widened.
// pLineBuf takes a row of bytes.
void Median3x3ToWide(const uint8_t* pSrc, int16_t* pDst, int width, int height, int srcStride, uint8_t* pLineBuf);

// One row of these medians, still in bytes; its first and last sample are copied.
void Median3x3Row(const uint8_t* above, const uint8_t* row, const uint8_t* below, int width, uint8_t* dst);
void Median3x3Row_plain(const uint8_t* above, const uint8_t* row, const uint8_t* below, int width, uint8_t* dst);

}  // namespace eis
