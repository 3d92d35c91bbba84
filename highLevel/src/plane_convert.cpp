#include "highLevel/src/plane_convert.h"

#include <utility>

#include "highLevel/src/median_of_three.h"
#include "libCore/core/source/arithmetic.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "highLevel/src/plane_convert.cpp"
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

// Medians along a row, without its first and last sample.
void MedianRow(const uint8_t* HWY_RESTRICT src, int width, uint8_t* HWY_RESTRICT dst) {
    for (int x = 1; x < width - 1; ++x) dst[x] = medianOfThree(src[x - 1], src[x], src[x + 1]);
}

// `above` and `here` hold the medians of the two rows before `below`; those of `below` take the place of `above`.
void MedianOfMediansRow(uint8_t* HWY_RESTRICT above, const uint8_t* HWY_RESTRICT here,
                        const uint8_t* HWY_RESTRICT below, int width, int16_t* HWY_RESTRICT dst) {
    for (int x = 1; x < width - 1; ++x) {
        const uint8_t median = medianOfThree(below[x - 1], below[x], below[x + 1]);
        dst[x] = medianOfThree(above[x], here[x], median);
        above[x] = median;
    }
}

void WidenPlane(const uint8_t* src, int64_t pitch, int16_t* dst, int width, int height) {
    for (int64_t y = 0; y < height; ++y) WidenRow(src + y * pitch, width, dst + y * width);
}

void MedianToWide(const uint8_t* src, int16_t* dst, int width, int height, int64_t pitch, uint8_t* lineBuf) {
    if (width < 1 || height < 1) return;
    uint8_t* above = lineBuf;
    uint8_t* here = lineBuf + width;
    WidenRow(src, width, dst);
    if (height < 3) {
        if (height == 2) WidenRow(src + pitch, width, dst + width);
        return;
    }
    MedianRow(src, width, above);
    MedianRow(src + pitch, width, here);
    for (int64_t y = 1; y < height - 1; ++y) {
        const uint8_t* row = src + y * pitch;
        int16_t* out = dst + y * width;
        out[0] = row[0];
        MedianOfMediansRow(above, here, row + pitch, width, out);
        out[width - 1] = row[width - 1];
        std::swap(above, here);
    }
    WidenRow(src + (height - 1) * pitch, width, dst + int64_t{height - 1} * width);
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(WidenPlane);
HWY_EXPORT(NarrowRun);
HWY_EXPORT(MedianToWide);

void WidenPlane128(const uint8_t* pSrc, int16_t* pDst, int width, int height) {
    HWY_DYNAMIC_DISPATCH(WidenPlane)(pSrc, stride128(width), pDst, width, height);
}

void NarrowPlaneSat(const int16_t* pSrc, uint8_t* pDst, int width, int height) {
    HWY_DYNAMIC_DISPATCH(NarrowRun)(pSrc, int64_t{width} * height, pDst);
}

void Median3x3ToWide(const uint8_t* pSrc, int16_t* pDst, int width, int height, int srcStride, uint8_t* pLineBuf) {
    HWY_DYNAMIC_DISPATCH(MedianToWide)(pSrc, pDst, width, height, srcStride, pLineBuf);
}

}  // namespace eis
#endif
