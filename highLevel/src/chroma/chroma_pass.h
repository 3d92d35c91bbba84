// The chroma pass: both chroma planes at quarter scale, guarded by an edge map of their own.
#pragma once

#include <cstdint>

#include "highLevel/src/band/nr_bands.h"
#include "include/acore_types.h"
#include "libCore/core/source/neon/wavelet/threshold_map.h"
#include "libCore/core/source/neon/wavelet/wavelet_sweep.h"

namespace eis {

// What the high level and the low level differ in.
struct ChromaFamily {
    int32_t chromaBase;
    decltype(&WaveletMaskMap) buildMap;
    bool usesMask;
};
extern const ChromaFamily kChromaHighLevel;
extern const ChromaFamily kChromaLowLevel;

// How the edge map acts on the wavelet's thresholds.
struct EdgeWindow {
    int32_t chromaThrBase;
    uint8_t edgeHigh;
    uint8_t edgeLow;
};
EdgeWindow ComputeEdgeWindow(int32_t chromaS, int32_t chromaBase);

// Planes of P = (width >> 2) * (height >> 2) samples and working memory, in one block.
struct ChromaScratch {
    uint8_t* uQuarter;
    uint8_t* vQuarter;
    uint8_t* magnitude;
    uint8_t* smoothing;
    uint8_t* edgeMap;
    uint8_t* maskQuarter;  // low level
    uint8_t* uQuarterDn;
    uint8_t* vQuarterDn;
    uint8_t* pFirstLevel;  // two planes
    uint16_t* pThresholds;
    int16_t* pSamples;  // kWideSamplePlanes planes, pWork among them
    int16_t* pWork;     // three planes
};
inline constexpr int kWideSamplePlanes = 7;

// Bytes of the block.
inline int64_t chromaBandScratchSize(int32_t width, int32_t height) {
    return int64_t{28} * (width >> 2) * (height >> 2);
}
// Lays the block of a band out; it is aligned to 2 bytes.
ChromaScratch CutChromaScratch(uint8_t* block, const ST_NR_BAND_PARAMS& band, const ChromaFamily& family);

struct ChromaPassParams {
    const ST_NR_BAND_PARAMS& band;
    const ChromaFamily& family;
    ChromaScratch scratch;
    const uint8_t* gradQuarter;  // gradient of luma at quarter scale, or null
};

// Leaves the denoised planes at quarter scale in uQuarterDn and vQuarterDn: of a band the rows that the writing below
// reads, its core and a row on either side. retStsNoMemory when the edge mask could not be grown.
ret_status RunChromaPass(const ChromaPassParams& params);

// Scales the core rows of the denoised planes up into the picture's. Columns and rows behind the last whole
// quarter-scale sample stay as they are.
void WriteChroma(const ChromaPassParams& params);

}  // namespace eis
