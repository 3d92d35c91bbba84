// The luma pass: one level of a 5/3 wavelet split, edge-preserving smoothing of its low band, shrinkage of its detail
// bands under a gradient guard, and part of the input back where there is texture.
#pragma once

#include <cstdint>

#include "highLevel/src/denoise_params.h"
#include "highLevel/src/nr_bands.h"

namespace eis {

// What the strengths of a call come to.
struct LumaSettings {
    bool median;
    int16_t lfStrength;
    int32_t lfMix;
    int32_t hfStrength;
    int32_t mapSigma;
    int32_t mapCentre;
    int32_t mapLumaLimit;
    uint16_t mapMixGain;
};
LumaSettings ComputeLumaSettings(const ST_DN_PARAMS_VA& dn);

// With W and h the size of what a pass sees, WH their product and P = (W >> 2) * (h >> 2). No step uses more of it than
// it has rows at hand, so that much of the two large planes may never be touched.
struct LumaScratch {
    uint8_t* detailMap;  // WH; the first step leaves it alone
    uint8_t* gradQuarter;
    uint8_t* nrOut;  // WH
    uint8_t* mapQuarter;
    uint8_t* lumaQuarter;
    int16_t* nrWide;        // WH, of which the low band takes the first quarter
    int16_t* shrinkLut;     // 1024 entries
    int16_t* nrWideTmp;     // WH, of which rows on their way through the pass take the first few
    int32_t* nrLineState;   // max(W, h) entries
    uint16_t* pThresholds;  // of the chroma pass
};

// Bytes of the scratch's parts; each but the first may hold its samples from an aligned address on.
struct LumaScratchSizes {
    int64_t bytePlanes;
    int64_t widePlanes;
    int64_t lineState;
    int64_t thresholds;

    // Of all parts in one block, with room to align those behind the first.
    int64_t inOneBlock() const;
};
LumaScratchSizes ComputeLumaScratch(int32_t width, int32_t height);
LumaScratch CutLumaScratch(uint8_t* bytePlanes, uint8_t* widePlanes, uint8_t* lineState, uint8_t* thresholds,
                           int32_t width, int32_t height);
LumaScratch CutLumaScratch(uint8_t* block, int32_t width, int32_t height);

struct LumaPassParams {
    LumaSettings settings;
    int32_t width;
    NrBand band;
    BandSource source;
    LumaScratch scratch;
    bool writesLuma;  // or is run for the gradients alone
};

// The steps, in this order. From the third one on the wide planes are free for others.
//
// Splitting and merging sweep over the band once each, down and up, as the two passes of the low band's smoothing do:
// a row goes through all steps while the caches hold it. Only the low band waits for the second sweep; details are
// split off once more. Of a band's overlap only those rows are worked on that its core depends on.
void SplitLuma(const LumaPassParams& params);  // leaves the low band, smoothed downward, and lumaQuarter
void MergeLuma(const LumaPassParams& params);  // leaves gradQuarter, 0 far from the core, and the core rows of nrOut
void BuildDetailMap(const LumaPassParams& params);
// Writes the core rows of the picture's plane; nothing else writes into it.
void RemixLuma(const LumaPassParams& params, uint8_t* plane);

// Rows [begin, end).
struct RowRange {
    int begin;
    int end;

    bool contains(int row) const { return row >= begin && row < end; }
};
// Rows at quarter scale that reach the core: those of its own and eight on either side, where the band has them. The
// map's median and enlargement take two, the chroma pass's dilation, enlargement and write-back five.
RowRange LumaQuarterRows(const NrBand& band);

}  // namespace eis
