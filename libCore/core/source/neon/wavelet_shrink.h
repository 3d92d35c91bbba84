// The parts of the chroma wavelet denoiser that work sample by sample: the threshold map and the shrinkage of a level's
// detail, a three-piece form of the soft threshold of Donoho and Johnstone.
//
// The columns below width & ~7 ("block columns") and those behind them ("tail columns") follow slightly different
// formulas, in every form of these kernels.
#pragma once

#include <cstdint>

namespace eis {

// What the passes over both chroma planes share. Planes but pSamples have rows of `width` samples.
struct ST_WAVELET_DN_PARAMS {
    int16_t* pSamples;  // the Q7 plane, filtered in place
    int32_t sampleStride;
    const uint8_t* pEdgeMap;
    int32_t width;
    int32_t height;
    int32_t chromaThrBase;        // Q12 map value at full edge strength
    uint8_t edgeHigh;             // window of edge strengths, from no effect ...
    uint8_t edgeLow;              // ... to full effect
    int16_t shrinkLow;            // noise floor: thresholds of level 1 are not below it
    uint16_t satGain;             // overall strength
    int16_t shrinkHigh;           // Q15 gain of details below the threshold
    uint16_t* pThresholds;        // Q12 map, written by pass 1, read by both
    int16_t* pWork;               // three planes
    const uint8_t* pChromaLut;    // 32-bit words at any alignment: for each pass, level and brightness class of four
    const uint8_t* pMaskQuarter;  // motion mask
    int32_t levelShift;           // bits of the motion mask, 1 to 8
    uint8_t maskWeight;           // carried along
    uint8_t* pFirstLevel;         // the level-2 low-pass as bytes, one plane for each pass
};

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
