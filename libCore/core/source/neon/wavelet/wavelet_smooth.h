// One low-pass level of the undecimated ("a trous") wavelet transform of Holschneider et al. and Shensa: a separable
// binomial filter 1 2 1 whose taps stand `step` samples apart.
#pragma once

#include <cstdint>

namespace eis {

// Three planes of width x height samples; strides are in samples.
struct ST_WAVELET_LEVEL_PARAMS {
    const int16_t* pSrc;
    int32_t srcStride;
    int16_t* pDst;
    int32_t dstStride;
    int16_t* pTmp;  // takes the plane after the horizontal pass
    int32_t tmpStride;
    int32_t width;
    int32_t height;
    int32_t step;  // 1, 2, 4, 8 or 16; any other writes nothing
};

// Lines are mirrored about their first and last sample. Within `step` of a line's ends the sum is rounded once, between
// them by two halvings, which may give one more. Three places differ: the last row's columns are all rounded once in
// the horizontal pass of steps 1 and 2; column width - 3 mixes two samples at step 4; the last row truncates in the
// vertical pass of step 2.
void WaveletSmooth_neon(ST_WAVELET_LEVEL_PARAMS* params);

}  // namespace eis
