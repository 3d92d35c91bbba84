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

// A band's rows in a plane of the picture: row r starts `start + r * pitch` bytes into it. A row that would start
// before the plane reads as the plane's first row.
struct BandSource {
    const uint8_t* plane;
    int64_t start;
    int32_t pitch;
};

// Copies `height` rows of `width` bytes, to a pitch of the caller's.
void CopyBand(const BandSource& source, int width, int height, uint8_t* dst, int64_t dstPitch);

// Box means of a band, of 2 by 2 and 4 by 4 samples, as DownScaleBox2x2_neon and DownScaleBox4x4_neon make them; the
// pitch of the latter's source is the width rounded up to 128. `spare` holds two rows of the width, and four of that
// pitch.
void DownScaleBand2x2(const BandSource& source, int width, int height, uint8_t* dst, uint8_t* spare);
void DownScaleBand4x4(const BandSource& source, int width, int height, uint8_t* dst, uint8_t* spare);

}  // namespace eis
