// How the denoise stages cut a picture into four horizontal bands, one for each thread.
//
// A band holds its core, a quarter of the picture's rows, and overlap rows that belong to its neighbours; it is
// filtered as a picture of its own, and its core alone is written back.
#pragma once

#include <cstdint>

#include "highLevel/src/band/denoise_params.h"
#include "libCore/core/source/neon/resample/band_rows.h"

namespace eis {

// A BandSource that is written back.
struct BandPlane {
    uint8_t* plane;
    int64_t start;
    int32_t pitch;

    uint8_t* row(int64_t y) const { return plane + (start + y * pitch); }
    operator BandSource() const { return {plane, start, pitch}; }
};

// A band, or a whole picture, which has no overlap. Sizes are those of luma; a band's height is a multiple of 16.
struct ST_NR_BAND_PARAMS {
    ST_DN_PARAMS_VA stDNParams;
    int32_t width;
    int32_t height;
    int32_t stride;  // of the call
    BandPlane luma;
    BandPlane chroma[2];
    BandSource mask;
    int32_t bandTopOverlap;
    int32_t bandBottomOverlap;

    // The rows of the core: [bandTopOverlap, coreEnd()).
    int32_t coreEnd() const { return height - bandBottomOverlap; }
    bool isCore(int row) const { return row >= bandTopOverlap && row < coreEnd(); }
};

// Whether a picture of this size is cut at all.
bool usesNrBands(int32_t width, int32_t height);

// Rows of luma and mask lie (width + 127) & ~127 bytes apart, those of chroma (stride / 2 + 127) & ~127.
ST_NR_BAND_PARAMS WholePicture(const ST_DN_PARAMS_VA& dn, const ST_PICTURE& picture);

// Band k, 0 to 3, of a whole picture. Bands start at quarters of the plane's bytes: in a picture whose height is not a
// multiple of 8 that need not be a row's start, and at heights 260 to 287 band 1 starts before the plane. In the mask
// they start at rows of the call's stride.
ST_NR_BAND_PARAMS CutBand(const ST_NR_BAND_PARAMS& whole, int k);

}  // namespace eis
