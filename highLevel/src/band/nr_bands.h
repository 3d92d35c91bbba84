// How the denoise stages cut a picture into four horizontal bands, one for each thread.
//
// A band holds its core, a quarter of the picture's rows, and overlap rows that belong to its neighbours; it is
// filtered as a picture of its own, and its core alone is written back.
#pragma once

#include <cstdint>

namespace eis {

inline constexpr int kNrBands = 4;
inline constexpr int kNrBandsMinHeight = 256;
inline constexpr int kNrBandsMinWidth = 128;

inline bool usesNrBands(int32_t width, int32_t height) {
    return height >= kNrBandsMinHeight && width >= kNrBandsMinWidth;
}

// Luma rows of a band, whose height is a multiple of 16, or of a whole picture, which has no overlap.
struct NrBand {
    int32_t height;
    int32_t bandTopOverlap;
    int32_t bandBottomOverlap;

    int32_t coreHeight() const { return height - bandTopOverlap - bandBottomOverlap; }
};

struct NrBandGeometry {
    int32_t pictureHeight;
    NrBand bands[kNrBands];

    // Where a band starts in a plane, in bytes. Bands start at quarters of the plane's bytes: in a picture whose height
    // is not a multiple of 8 that need not be a row's start, and at heights 260 to 287 band 1 starts before the plane.
    int64_t lumaStart(int band, int32_t pitch) const;
    int64_t chromaStart(int band, int32_t pitch) const;
    int64_t maskStart(int band, int32_t pitch) const;
};

NrBandGeometry ComputeNrBands(int32_t height);

}  // namespace eis
