// The chroma wavelet denoiser: a Q7 plane is split into five detail levels and a residual low-pass (undecimated "a
// trous" transform), the details are shrunk by a threshold that follows brightness, level and edges, and all is summed
// up again in place.
#pragma once

#include "libCore/core/source/neon/wavelet/wavelet_shrink.h"

namespace eis {

// Pass 1 treats the first chroma plane and writes the threshold map, pass 2 the second one with the same map; any other
// does nothing. _Mask builds the map from the edge map, _Ghost from the edge map and the motion mask.
void WaveletDenoiseDispatch_Mask(ST_WAVELET_DN_PARAMS params, int pass);
void WaveletDenoiseDispatch_Mask_plain(ST_WAVELET_DN_PARAMS params, int pass);
void WaveletDenoiseDispatch_Ghost(ST_WAVELET_DN_PARAMS params, int pass);
void WaveletDenoiseDispatch_Ghost_plain(ST_WAVELET_DN_PARAMS params, int pass);

// The bodies: pass 1 with the one or the other map, and pass 2.
void WaveletDenoise_MaskMap_neon(ST_WAVELET_DN_PARAMS params);
void WaveletDenoise_MaskMap_plain(ST_WAVELET_DN_PARAMS params);
void WaveletDenoise_MotionMap_neon(ST_WAVELET_DN_PARAMS params);
void WaveletDenoise_MotionMap_plain(ST_WAVELET_DN_PARAMS params);
void WaveletDenoise_ReuseMap_neon(ST_WAVELET_DN_PARAMS params);
void WaveletDenoise_ReuseMap_plain(ST_WAVELET_DN_PARAMS params);

}  // namespace eis
