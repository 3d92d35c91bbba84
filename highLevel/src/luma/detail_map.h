// The map of texture at quarter scale: gradients remapped around a middle strength, weighted by brightness, smoothed.
#pragma once

#include <cstdint>

namespace eis {

// A 3x3 median of medians, along rows from the plane into pTmp, then along columns back. The outermost rows and columns
// keep their values; pTmp takes width * height bytes. Neither plane has gaps.
void Median3x3Separable(uint8_t* pPlane, int width, int height, uint8_t* pTmp);
void Median3x3Separable_plain(uint8_t* pPlane, int width, int height, uint8_t* pTmp);

// Weights each value by a Gaussian around the centre: i becomes i * exp(-(i - centre)^2 / (2 sigma^2)), truncated, its
// low byte. At a negative sigma, or without memory for a table, the plane stays as it is; a sigma of 0 clears it.
void GaussRemapPlane(uint8_t* pPlane, int stride, int width, int height, int32_t sigma, int32_t centre);
void GaussRemapPlane_plain(uint8_t* pPlane, int stride, int width, int height, int32_t sigma, int32_t centre);

// Scales each value by luma / lumaLimit, to at most the value itself; lumaLimit of 127 and less changes nothing.
// Neither plane has gaps. A row of whole groups of eight is scaled once; in any other row of more than eight, the last
// eight samples are a second sweep: those that the groups had reached are scaled twice.
void ScaleByLuma(uint8_t* pPlane, const uint8_t* pLuma, int width, int height, int32_t lumaLimit);
void ScaleByLuma_plain(uint8_t* pPlane, const uint8_t* pLuma, int width, int height, int32_t lumaLimit);

}  // namespace eis
