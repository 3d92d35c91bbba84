// The parts of the chroma wavelet denoiser that work sample by sample: the threshold map and the shrinkage of a level's
// detail, a three-piece form of the soft threshold of Donoho and Johnstone.
//
// The columns below width & ~7 ("block columns") and those behind them ("tail columns") follow slightly different
// formulas, in every form of these kernels.
#pragma once

#include <cstdint>

#include "include/st_wavelet.h"

namespace eis {

// Writes pThresholds: 4096 off edges, falling to about chromaThrBase on full ones; 4096 everywhere when the window is
// empty.
void WaveletMaskMap_neon(const ST_WAVELET_DN_PARAMS& params);
void WaveletMaskMap_plain(const ST_WAVELET_DN_PARAMS& params);
// The same, where a motion mask of 0 halves the effect of an edge, and a full one leaves it.
void WaveletMotionMap_neon(const ST_WAVELET_DN_PARAMS& params);
void WaveletMotionMap_plain(const ST_WAVELET_DN_PARAMS& params);

// Shrinks the detail high - low of a level, 1 to 5, of pass 1 or 2. At level 1 high is pSamples, which takes the result
// (the argument plays no part); at the others the result is added to pSamples, wrapping.
void WaveletShrinkLevel_plain(const ST_WAVELET_DN_PARAMS& params, int pass, int level, const int16_t* high,
                              const int16_t* low);

// Adds a plane to pSamples, wrapping.
void WaveletAddPlane_plain(const ST_WAVELET_DN_PARAMS& params, const int16_t* plane);

}  // namespace eis
