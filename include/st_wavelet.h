// The record between the chroma passes and the wavelet kernels.
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

}  // namespace eis
