// The luma pass: one level of a 5/3 wavelet split, edge-preserving smoothing of its low band, shrinkage of its detail
// bands under a gradient guard, and part of the input back where there is texture.
#pragma once

#include <cstdint>

#include "highLevel/src/band/nr_bands.h"

namespace eis {

// What the strengths of a call come to; of the texture map by steps.
struct MapSettings {
    int32_t centre;
    int32_t lumaLimit;
    uint16_t mixGain;
};
struct LumaSettings {
    bool median;
    int16_t lfStrength;
    int32_t lfMix;
    int32_t hfStrength;
    int32_t mapSigma;
    MapSettings map;
};
LumaSettings ComputeLumaSettings(const ST_DN_PARAMS_VA& dn);

// Rows beside a band's core, as they came: as many as its merging asks for.
struct BorderRows {
    static constexpr int kRows = 6;  // on either side

    uint8_t* rows;
    int32_t width;

    // From -kRows to -1 before the core's first row, from 0 on behind its last one.
    uint8_t* at(int row) const { return rows + int64_t{kRows + row} * width; }
};

// With W and h the size of what a pass sees, WH their product and P = (W >> 2) * (h >> 2). No step uses more of it than
// it has rows at hand, so that most of it may never be touched.
struct LumaScratch {
    uint8_t* detailMap;  // WH; the first step leaves it alone
    uint8_t* gradQuarter;
    BorderRows border;  // at the start of WH bytes
    uint8_t* mapQuarter;
    uint8_t* lumaQuarter;
    int16_t* nrWide;       // WH, of which the low band takes the first quarter
    int16_t* shrinkLut;    // 1024 entries
    int16_t* nrWideTmp;    // WH, of which rows on their way through a sweep take the first few; free between sweeps
    int32_t* nrLineState;  // max(W, h) entries
};

// Bytes of the scratch's parts; each but the first may hold its samples from an aligned address on.
struct LumaScratchSizes {
    int64_t bytePlanes;
    int64_t widePlanes;
    int64_t lineState;
    int64_t thresholds;  // never touched: the chroma pass has its own beside its planes

    // Of all parts in one block, with room to align those behind the first.
    int64_t inOneBlock() const;
};
LumaScratchSizes ComputeLumaScratch(int32_t width, int32_t height);
LumaScratch CutLumaScratch(uint8_t* bytePlanes, uint8_t* widePlanes, uint8_t* lineState, int32_t width, int32_t height);
LumaScratch CutLumaScratch(uint8_t* block, int32_t width, int32_t height);

struct LumaPassParams {
    const ST_NR_BAND_PARAMS& band;
    LumaSettings settings;
    LumaScratch scratch;
};

// The steps, in this order.
//
// The first two sweep over the band down and up, as the two passes of the low band's smoothing do, and the last one
// once more: a row goes through all of a sweep's steps while the caches hold it. Only the low band waits from sweep to
// sweep; details are split off once more rather than stored, gradients taken once more. Of a band's overlap only those
// rows are worked on that its core depends on.
void SplitLuma(const LumaPassParams& params);   // leaves the low band, smoothed downward, and lumaQuarter
void SmoothLuma(const LumaPassParams& params);  // smooths it upward and leaves gradQuarter, 0 far from the core
void BuildDetailMap(const LumaPassParams& params);
// Before neighbours may write their cores.
void KeepBorderRows(const LumaPassParams& params);
// Writes the core rows of the picture's plane; nothing else writes into it.
void MergeLuma(const LumaPassParams& params);

// Lays a denoised row into the plane, with part of what was there back where the map has texture.
void RemixLumaRow(const LumaPassParams& params, int row, const uint8_t* denoised);

// Rows [begin, end).
struct RowRange {
    int begin;
    int end;

    bool contains(int row) const { return row >= begin && row < end; }
};
// Rows at quarter scale that reach the core: those of its own and eight on either side, where the band has them. The
// map's median and enlargement take two, the chroma pass's dilation, enlargement and write-back five. Off the grid of
// four the last ones lie further down, since the map's rows are shorter than the picture's and run on through them.
RowRange LumaQuarterRows(const ST_NR_BAND_PARAMS& band);

}  // namespace eis
