// A band's rows in a plane, copied or reduced, where the band may begin before the plane.
#pragma once

#include <cstdint>

namespace eis {

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
