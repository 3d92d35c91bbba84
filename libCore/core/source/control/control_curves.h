// The curves of the fast denoiser: how much a difference of a given size corrects.
//
// All rest on one rule. A strength s on a scale of n gives a = 0.99999 - s / n and the exponent e = -ln 4 / ln a, so
// that (1 - x)^e is a quarter at x = 1 - a; the curve of an input k over a span m is k * (1 - k / m)^e. A strength of 0
// gives a curve of zeros. One at or beyond its scale has no logarithm, a negative one an exponent below zero: the
// entries are then whatever the saturating conversion makes of the result, cut to 16 bits.
//
// The single-precision cuts and fused operations differ from curve to curve. They are part of the values: other
// roundings move entries by one.
#pragma once

#include <cstdint>

namespace eis {

// -ln 4 over the logarithm of a: the exponent at which a keeps a quarter.
double quarterExponent(double a);

// 241 entries around 120, scale 511, span 2044, five fractional bits: a quarter is kept at 4 * strength. Clears 512
// bytes first.
void BuildLumaCurve(int16_t* dest, int32_t strength);
void BuildLumaCurve_plain(int16_t* dest, int32_t strength);
// The same with exponent and base cut to single precision; clears 482 bytes first.
void BuildLumaCurveSingle(int16_t* dest, int32_t strength);
// 256 entries from 0 upward, the last one 0, scale 255, span 1020, five fractional bits.
void BuildChromaCurve(int16_t* dest, int32_t strength);
void BuildChromaCurve_plain(int16_t* dest, int32_t strength);
// 256 entries around 128, scale 255, span 128, the part below the peak bent to a parabola. Clears 512 bytes first.
void BuildThresholdCurve(int16_t* dest, int32_t strength);
void BuildThresholdCurve_plain(int16_t* dest, int32_t strength);
// 256 entries around 128, scale 255, span 128, rounded by 0.49. Clears 512 bytes first.
void BuildTailCurve(int16_t* dest, int32_t strength);
void BuildTailCurve_plain(int16_t* dest, int32_t strength);

// The gain in 1/8192 that a luma detail selects: 5000 to 8000.
int32_t LumaGainFromDetail(int32_t lumaDetail);
// Writes the luma curve at luma, times gain / 8192, to dest: 241 entries around 120.
void ApplyLumaGain(const int16_t* luma, int32_t gain, int16_t* dest);

}  // namespace eis
