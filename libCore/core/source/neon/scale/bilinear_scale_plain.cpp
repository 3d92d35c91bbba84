#include <algorithm>

#include "libCore/core/source/neon/scale/bilinear_position.h"
#include "libCore/core/source/neon/scale/bilinear_scale.h"

namespace eis {

namespace {

// A plane of which sample(row, column) can be had one beyond its last row and column.
template <class Sample>
void bilinearPlane(Sample sample, int srcW, int srcH, const PlaneView& to, const ScaleRows& rows,
                   const ScaleColumns& columns) {
    if (srcW < 1 || srcH < 1) return;
    for (int row = rows.first; row < rows.end; ++row) {
        const ScalePosition y = scalePosition(scaleStep(srcH, to.height), row);
        for (int column = 0; column < to.width; ++column) {
            const ScalePosition x =
                scalePosition(scaleStep(srcW, to.width), scaleColumn(columns.table, columns.entries, column));
            const uint32_t upper = sample(y.index, x.index) * (4096 - x.fraction) * (4096 - y.fraction) +
                                   sample(y.index, x.index + 1) * x.fraction * (4096 - y.fraction);
            const uint32_t lower = sample(y.index + 1, x.index) * (4096 - x.fraction) * y.fraction +
                                   sample(y.index + 1, x.index + 1) * x.fraction * y.fraction;
            to.data[int64_t{row} * to.pitch + column] = static_cast<uint8_t>((upper + lower) >> 24);
        }
    }
}

auto paddedSamples(const uint8_t* src, int srcW) {
    return [src, pitch = scalePaddedPitch(srcW)](int64_t row, int64_t column) {
        return uint32_t{src[(row + kScaleBorder) * pitch + column + kScaleBorder]};
    };
}

}  // namespace

// NOLINTNEXTLINE(readability-function-size): a signature of the system
int y_bilinear_scale_crop_fixed_plain(const uint8_t* src, int srcW, int srcH, int /*srcStride*/, uint8_t* dst, int dstW,
                                      int dstH, int dstStride, int rowFirst, int rowEnd, const void* colTable) {
    bilinearPlane(paddedSamples(src, srcW), srcW, srcH, {dst, dstStride, dstW, dstH}, {rowFirst, rowEnd},
                  {colTable, dstStride});
    return 0;
}

void uv_bilinear_scale_crop_fixed_plain(const uint8_t* src, int srcW, int srcH, const PlaneView& to) {
    PlaneView plane = to;
    for (int i = 0; i < 2; ++i, plane.data += int64_t{to.pitch} * to.height) {
        bilinearPlane(paddedSamples(src + i * scalePaddedSize(srcW, srcH), srcW), srcW, srcH, plane, {0, to.height},
                      {nullptr, 0});
    }
}

void ScaleUnpadded_plain(const PlaneView& from, const PlaneView& to) {
    const auto mirrored = [](int64_t i, int size) { return i < size ? i : std::max<int64_t>(2 * (size - 1) - i, 0); };
    const auto sample = [&](int64_t row, int64_t column) {
        return uint32_t{from.data[mirrored(row, from.height) * from.pitch + mirrored(column, from.width)]};
    };
    bilinearPlane(sample, from.width, from.height, to, {0, to.height}, {nullptr, 0});
}

}  // namespace eis
