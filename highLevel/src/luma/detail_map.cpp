#include "highLevel/src/luma/detail_map.h"

#include "bounded/heap_block.h"
#include "highLevel/src/luma/gauss_weight.h"
#include "highLevel/src/luma/median_of_three.h"
#include "libCore/core/source/frame/second_sweep.h"

#define HWY_TARGET_INCLUDE "highLevel/src/luma/detail_map.cpp"
#include "libCore/core/source/frame/vector_unit.h"

#include "libCore/core/source/frame/vector_ops-inl.h"

EIS_BEFORE_TARGET();

// Medians of three samples that stand `step` apart, for `count` samples.
void MedianRun(const uint8_t* HWY_RESTRICT src, int64_t step, int count, uint8_t* HWY_RESTRICT dst) {
    const HWY_CAPPED(uint8_t, 32) d;
    FillRow(
        d, count, dst,
        [&](int x) HWY_ATTR {
            return Median(hn::LoadU(d, src + x - step), hn::LoadU(d, src + x), hn::LoadU(d, src + x + step));
        },
        [&](int x) { return medianOfThree(src[x - step], src[x], src[x + step]); });
}

// The weight is at most 32768, so that the product's upper half is the scaled sample.
void ScaleRun(uint8_t* HWY_RESTRICT plane, const uint8_t* HWY_RESTRICT luma, int count, uint16_t scale) {
    for (int x = 0; x < count; ++x) {
        const auto product = static_cast<uint16_t>(luma[x] * scale);
        const auto weight = static_cast<uint16_t>(product < 32768 ? product : 32768);
        const auto doubled = static_cast<uint16_t>(2 * plane[x]);
        plane[x] = static_cast<uint8_t>((uint32_t{doubled} * weight) >> 16);
    }
}

void SeparableMedian(uint8_t* plane, int width, int height, uint8_t* tmp) {
    for (int64_t y = 0; y < height; ++y) MedianRun(plane + y * width + 1, 1, width - 2, tmp + y * width + 1);
    for (int64_t y = 1; y < height - 1; ++y) MedianRun(tmp + y * width + 1, width, width - 2, plane + y * width + 1);
}

void ScalePlane(uint8_t* plane, const uint8_t* luma, int width, int height, uint16_t scale) {
    for (int64_t y = 0; y < height; ++y) {
        sweepRow<8>(width, [&](int first, int count) {
            ScaleRun(plane + y * width + first, luma + y * width + first, count, scale);
        });
    }
}

void MapPlane(const uint8_t* table, uint8_t* plane, int64_t stride, int width, int height) {
    for (int64_t y = 0; y < height; ++y) MapBytes(table, plane + y * stride, width, plane + y * stride);
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(SeparableMedian);
HWY_EXPORT(ScalePlane);
HWY_EXPORT(MapPlane);

void Median3x3Separable(uint8_t* pPlane, int width, int height, uint8_t* pTmp) {
    HWY_DYNAMIC_DISPATCH(SeparableMedian)(pPlane, width, height, pTmp);
}

void GaussRemapPlane(uint8_t* pPlane, int stride, int width, int height, int32_t sigma, int32_t centre) {
    if (sigma < 0) return;
    const HeapBlock<int32_t[]> table = zeroedHeapBlock<int32_t>(256);
    if (!table) return;
    for (int i = 0; i < 256; ++i) table[i] = gaussWeighted(i, sigma, centre);
    uint8_t bytes[256];
    for (int i = 0; i < 256; ++i) bytes[i] = static_cast<uint8_t>(table[i]);
    HWY_DYNAMIC_DISPATCH(MapPlane)(bytes, pPlane, stride, width, height);
}

void ScaleByLuma(uint8_t* pPlane, const uint8_t* pLuma, int width, int height, int32_t lumaLimit) {
    if (lumaLimit <= 127) return;
    HWY_DYNAMIC_DISPATCH(ScalePlane)(pPlane, pLuma, width, height, static_cast<uint16_t>(32768 / lumaLimit));
}

}  // namespace eis
#endif
