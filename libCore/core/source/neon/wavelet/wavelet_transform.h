// The chroma wavelet denoiser, a plane and a level at a time: a Q7 plane is split into five detail levels and a
// residual low-pass (undecimated "a trous" transform), the details are shrunk by a threshold that follows brightness,
// level and edges (a three-piece form of the soft threshold of Donoho and Johnstone), and all is summed up again in
// place. What the passes call is the sweep, of which this is the definition.
#pragma once

#include <cstdint>

#include "include/st_wavelet.h"

namespace eis {

inline constexpr int kWaveletLevels = 5;

// Shrinks the detail high - low of a level, 1 to 5, of pass 1 or 2. At level 1 high is pSamples, which takes the result
// (the argument plays no part); at the others the result is added to pSamples, wrapping.
void WaveletShrinkLevel(const ST_WAVELET_DN_PARAMS& params, int pass, int level, const int16_t* high,
                        const int16_t* low);

// The transform of pSamples with the map in pThresholds; pWork holds three planes. pFirstLevel gets the pass's plane.
void WaveletTransform(const ST_WAVELET_DN_PARAMS& params, int pass);

// Pass 1 treats the first chroma plane and writes the threshold map, pass 2 the second one with the same map; any other
// does nothing. _Mask builds the map from the edge map, _Ghost from the edge map and the motion mask.
void WaveletDenoiseDispatch_Mask(ST_WAVELET_DN_PARAMS params, int pass);
void WaveletDenoiseDispatch_Ghost(ST_WAVELET_DN_PARAMS params, int pass);

// The bodies: pass 1 with the one or the other map, and pass 2.
void WaveletDenoise_MaskMap_neon(ST_WAVELET_DN_PARAMS params);
void WaveletDenoise_MotionMap_neon(ST_WAVELET_DN_PARAMS params);
void WaveletDenoise_ReuseMap_neon(ST_WAVELET_DN_PARAMS params);

}  // namespace eis
