// The threshold map of the chroma wavelet denoiser: how far each sample's details may be shrunk.
//
// The columns below width & ~7 ("block columns") and those behind them ("tail columns") follow slightly different
// formulas, here and where details are shrunk.
#pragma once

#include "include/st_wavelet.h"

namespace eis {

inline int waveletBlockColumns(int width) {
    return width & ~7;
}

// Writes pThresholds: 4096 off edges, falling to about chromaThrBase on full ones; 4096 everywhere when the window is
// empty.
void WaveletMaskMap(const ST_WAVELET_DN_PARAMS& params);
void WaveletMaskMap_plain(const ST_WAVELET_DN_PARAMS& params);
// The same, where a motion mask of 0 halves the effect of an edge, and a full one leaves it.
void WaveletMotionMap(const ST_WAVELET_DN_PARAMS& params);
void WaveletMotionMap_plain(const ST_WAVELET_DN_PARAMS& params);

}  // namespace eis
