#include "libCore/core/source/neon/bilinear_scale.h"

#include <algorithm>

#include "libCore/core/source/neon/bilinear_position.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "libCore/core/source/neon/bilinear_scale.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

// Columns handled in one go, so that a strip's tables and row sums stay on the stack.
constexpr int kStrip = 1024;

// Column tables of a strip, shared by the planes of one size.
struct Columns {
    int32_t index[kStrip];  // of the left neighbour in a padded row
    int32_t fraction[kStrip];
};

// A source row interpolated at the strip's columns: 20 bits, 4096 times the sample value.
struct RowSums {
    int32_t row = -1;  // which source row it holds
    int32_t values[kStrip];
};

void HorizontalSums(const uint8_t* HWY_RESTRICT padded, const Columns& columns, int count, int32_t* HWY_RESTRICT sums) {
    for (int x = 0; x < count; ++x) {
        const uint8_t* pair = padded + columns.index[x];
        sums[x] = 4096 * pair[0] + (pair[1] - pair[0]) * columns.fraction[x];
    }
}

// Unsigned and wrapping: the sum of both terms is at most 255 << 24, however far below zero the second one is.
void VerticalBlend(const int32_t* HWY_RESTRICT upper, const int32_t* HWY_RESTRICT lower, uint32_t fy, int count,
                   uint8_t* HWY_RESTRICT dst) {
    for (int x = 0; x < count; ++x) {
        const auto u = static_cast<uint32_t>(upper[x]);
        const auto l = static_cast<uint32_t>(lower[x]);
        dst[x] = static_cast<uint8_t>((4096 * u + (l - u) * fy) >> 24);
    }
}

// One strip of one plane. Sums of source rows are kept while destination rows go on using them.
void ScaleStrip(const uint8_t* padded, int64_t pitch, const Columns& columns, int count, int32_t stepY, uint8_t* dst,
                int dstPitch, int rowFirst, int rowEnd) {
    RowSums sums[2];
    for (int y = rowFirst; y < rowEnd; ++y) {
        const ScalePosition position = scalePosition(stepY, y);
        const auto top = static_cast<int32_t>(position.index);
        const RowSums* use[2];
        for (int i = 0; i < 2; ++i) {
            RowSums& slot = sums[(top + i) & 1];
            if (slot.row != top + i) {
                HorizontalSums(padded + (int64_t{top} + i + kScaleBorder) * pitch, columns, count, slot.values);
                slot.row = top + i;
            }
            use[i] = &slot;
        }
        VerticalBlend(use[0]->values, use[1]->values, position.fraction, count, dst + int64_t{y} * dstPitch);
    }
}

// Planes of one size; `entries` words of colTable are valid.
void ScalePlanes(const uint8_t* src, int64_t srcPlaneSize, int planes, int srcW, int srcH, uint8_t* dst,
                 int64_t dstPlaneSize, int dstW, int dstH, int dstPitch, int rowFirst, int rowEnd, const void* colTable,
                 int entries) {
    if (srcW < 1 || srcH < 1) return;
    const int32_t stepX = scaleStep(srcW, dstW);
    const int32_t stepY = scaleStep(srcH, dstH);
    for (int x0 = 0; x0 < dstW; x0 += kStrip) {
        const int count = dstW - x0 < kStrip ? dstW - x0 : kStrip;
        Columns columns;
        for (int x = 0; x < count; ++x) {
            const ScalePosition position = scalePosition(stepX, scaleColumn(colTable, entries, x0 + x));
            columns.index[x] = static_cast<int32_t>(position.index) + kScaleBorder;
            columns.fraction[x] = static_cast<int32_t>(position.fraction);
        }
        for (int plane = 0; plane < planes; ++plane) {
            ScaleStrip(src + plane * srcPlaneSize, scalePaddedPitch(srcW), columns, count, stepY,
                       dst + plane * dstPlaneSize + x0, dstPitch, rowFirst, rowEnd);
        }
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(ScalePlanes);

int y_bilinear_scale_crop_fixed_neon(const uint8_t* src, int srcW, int srcH, int /*srcStride*/, uint8_t* dst, int dstW,
                                     int dstH, int dstStride, int rowFirst, int rowEnd, const void* colTable) {
    HWY_DYNAMIC_DISPATCH(ScalePlanes)
    (src, 0, 1, srcW, srcH, dst, 0, dstW, dstH, dstStride, rowFirst, rowEnd, colTable, dstStride);
    return 0;
}

void uv_bilinear_scale_crop_fixed_neon(const uint8_t* src, int srcW, int srcH, uint8_t* dst, int dstW, int dstH,
                                       int dstPitch) {
    HWY_DYNAMIC_DISPATCH(ScalePlanes)
    (src, scalePaddedSize(srcW, srcH), 2, srcW, srcH, dst, int64_t{dstPitch} * dstH, dstW, dstH, dstPitch, 0, dstH,
     nullptr, 0);
}

}  // namespace eis
#endif
