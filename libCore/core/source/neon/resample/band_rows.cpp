#include "libCore/core/source/neon/resample/band_rows.h"

#include <algorithm>
#include <cstring>

#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/neon/resample/resample_down.h"

namespace eis {

namespace {

// How many rows of a band start before its plane.
int64_t rowsAbovePlane(const BandSource& source) {
    return source.start < 0 ? (-source.start + source.pitch - 1) / source.pitch : 0;
}

// Room for a copy of rows.
struct Spare {
    uint8_t* rows;
    int32_t pitch;
};

// Boxes that reach above the plane are made from a copy of their rows, all others straight from the plane.
template <int box, class DownScale>
void downScaleBand(const BandSource& source, int width, int height, uint8_t* dst, Spare spare, DownScale downScale) {
    const auto above = static_cast<int>(std::min<int64_t>((rowsAbovePlane(source) + box - 1) / box * box, height));
    const int64_t dstPitch = width / box;
    for (int row = 0; row < above; row += box) {
        const BandSource rows{source.plane, source.start + int64_t{row} * source.pitch, source.pitch};
        CopyBand(rows, width, box, spare.rows, spare.pitch);
        downScale(spare.rows, spare.pitch, dst + row / box * dstPitch, box);
    }
    if (above < height) {
        downScale(source.plane + (source.start + int64_t{above} * source.pitch), source.pitch,
                  dst + above / box * dstPitch, height - above);
    }
}

}  // namespace

void CopyBand(const BandSource& source, int width, int height, uint8_t* dst, int64_t dstPitch) {
    for (int row = 0; row < height; ++row) {
        const int64_t start = std::max<int64_t>(source.start + int64_t{row} * source.pitch, 0);
        std::memcpy(dst + row * dstPitch, source.plane + start, width);
    }
}

void DownScaleBand2x2(const BandSource& source, int width, int height, uint8_t* dst, uint8_t* spare) {
    downScaleBand<2>(source, width, height, dst, {spare, width},
                     [&](const uint8_t* rows, int32_t pitch, uint8_t* out, int count) {
                         DownScaleBox2x2_neon(rows, pitch, out, width, count);
                     });
}

void DownScaleBand4x4(const BandSource& source, int width, int height, uint8_t* dst, uint8_t* spare) {
    downScaleBand<4>(source, width, height, dst, {spare, stride128(width)},
                     [&](const uint8_t* rows, int32_t /*pitch*/, uint8_t* out, int count) {
                         DownScaleBox4x4_neon(rows, count, width, out);
                     });
}

}  // namespace eis
