#include "highLevel/src/luma/plane_convert.h"

#include "highLevel/src/luma/median_of_three.h"
#include "libCore/core/source/frame/alignment.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "highLevel/src/luma/plane_convert.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

void WidenRow(const uint8_t* HWY_RESTRICT src, int count, int16_t* HWY_RESTRICT dst) {
    for (int x = 0; x < count; ++x) dst[x] = src[x];
}

void NarrowRun(const int16_t* HWY_RESTRICT src, int64_t count, uint8_t* HWY_RESTRICT dst) {
    for (int64_t i = 0; i < count; ++i) {
        const auto positive = static_cast<int16_t>(src[i] > 0 ? src[i] : 0);
        dst[i] = static_cast<uint8_t>(positive < 255 ? positive : 255);
    }
}

HWY_INLINE uint8_t MedianAlong(const uint8_t* row) {
    return medianOfThree(row[-1], row[0], row[1]);
}

void MedianOfMediansRow(const uint8_t* HWY_RESTRICT above, const uint8_t* HWY_RESTRICT row,
                        const uint8_t* HWY_RESTRICT below, int width, uint8_t* HWY_RESTRICT dst) {
    dst[0] = row[0];
    for (int x = 1; x < width - 1; ++x) {
        dst[x] = medianOfThree(MedianAlong(above + x), MedianAlong(row + x), MedianAlong(below + x));
    }
    dst[width - 1] = row[width - 1];
}

void WidenPlane(const uint8_t* src, int64_t pitch, int16_t* dst, int width, int height) {
    for (int64_t y = 0; y < height; ++y) WidenRow(src + y * pitch, width, dst + y * width);
}

void MedianToWide(const uint8_t* src, int16_t* dst, int width, int height, int64_t pitch, uint8_t* lineBuf) {
    if (width < 1) return;
    for (int64_t y = 0; y < height; ++y) {
        const uint8_t* row = src + y * pitch;
        const bool inside = y > 0 && y < height - 1;
        if (inside) MedianOfMediansRow(row - pitch, row, row + pitch, width, lineBuf);
        WidenRow(inside ? lineBuf : row, width, dst + y * width);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(WidenPlane);
HWY_EXPORT(NarrowRun);
HWY_EXPORT(MedianToWide);
HWY_EXPORT(MedianOfMediansRow);

void WidenPlane128(const uint8_t* pSrc, int16_t* pDst, int width, int height) {
    HWY_DYNAMIC_DISPATCH(WidenPlane)(pSrc, stride128(width), pDst, width, height);
}

void NarrowPlaneSat(const int16_t* pSrc, uint8_t* pDst, int width, int height) {
    HWY_DYNAMIC_DISPATCH(NarrowRun)(pSrc, int64_t{width} * height, pDst);
}

void Median3x3ToWide(const uint8_t* pSrc, int16_t* pDst, int width, int height, int srcStride, uint8_t* pLineBuf) {
    HWY_DYNAMIC_DISPATCH(MedianToWide)(pSrc, pDst, width, height, srcStride, pLineBuf);
}

void Median3x3Row(const uint8_t* above, const uint8_t* row, const uint8_t* below, int width, uint8_t* dst) {
    HWY_DYNAMIC_DISPATCH(MedianOfMediansRow)(above, row, below, width, dst);
}

}  // namespace eis
#endif
