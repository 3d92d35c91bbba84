// The chroma edge map: how far a pixel's colour is from grey, smoothed, then its gradient.
#pragma once

#include <cstdint>

namespace eis {

// |u - 128| + |v - 128| + 64 for each pixel, at most 255. All three planes have rows of `stride` bytes.
void ChromaMagnitude(const uint8_t* pU, const uint8_t* pV, uint8_t* pOut, int width, int height, int stride);
void ChromaMagnitude_plain(const uint8_t* pU, const uint8_t* pV, uint8_t* pOut, int width, int height, int stride);

// |gx| + |gy| of the 3x3 Sobel operator, at most 255; the outermost rows and columns are 0.
void SobelMagnitude(const uint8_t* pSrc, uint8_t* pDst, int width, int height, int srcStride, int dstStride);
void SobelMagnitude_plain(const uint8_t* pSrc, uint8_t* pDst, int width, int height, int srcStride, int dstStride);

// Adds a plane with saturation at 255; both are contiguous. A row of whole groups of sixteen gets it once. In any other
// row of more than sixteen, the last sixteen bytes are a second sweep: those that the groups had reached get it twice.
void SatAddPlane(uint8_t* pDst, const uint8_t* pAdd, int width, int height);
void SatAddPlane_plain(uint8_t* pDst, const uint8_t* pAdd, int width, int height);

}  // namespace eis
