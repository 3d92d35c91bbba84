// A 3x3 binomial low-pass of bytes.
#pragma once

#include <cstdint>

namespace eis {

// Separable [1 2 1] / 4 of two rounding halvings, so that a result may be one above the rounded mean; the first and the
// last sample of a row are weighted 3 to 1 and truncate. pTmp takes the row-filtered plane; pDst may be pSrc.
void Binomial3x3(const uint8_t* pSrc, uint8_t* pDst, uint8_t* pTmp, int width, int height, int srcStride, int dstStride,
                 int tmpStride);
void Binomial3x3_plain(const uint8_t* pSrc, uint8_t* pDst, uint8_t* pTmp, int width, int height, int srcStride,
                       int dstStride, int tmpStride);

}  // namespace eis
