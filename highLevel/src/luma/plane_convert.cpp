#include "highLevel/src/luma/plane_convert.h"

#include "highLevel/src/luma/median_of_three.h"
#include "libCore/core/source/frame/alignment.h"

#define HWY_TARGET_INCLUDE "highLevel/src/luma/plane_convert.cpp"
#include "libCore/core/source/frame/vector_unit.h"

#include "libCore/core/source/frame/vector_ops-inl.h"

EIS_BEFORE_TARGET();

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
    const HWY_CAPPED(uint8_t, 32) d;
    const auto along = [&](const uint8_t* at)
                           HWY_ATTR { return Median(hn::LoadU(d, at), hn::LoadU(d, at + 1), hn::LoadU(d, at + 2)); };
    FillRow(
        d, width - 2, dst + 1,
        [&](int x) HWY_ATTR { return Median(along(above + x), along(row + x), along(below + x)); },
        [&](int x) {
            return medianOfThree(MedianAlong(above + x + 1), MedianAlong(row + x + 1), MedianAlong(below + x + 1));
        });
    dst[width - 1] = row[width - 1];
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(NarrowRun);
HWY_EXPORT(MedianOfMediansRow);

void NarrowPlaneSat(const int16_t* pSrc, uint8_t* pDst, int width, int height) {
    HWY_DYNAMIC_DISPATCH(NarrowRun)(pSrc, int64_t{width} * height, pDst);
}

void Median3x3Row(const uint8_t* above, const uint8_t* row, const uint8_t* below, int width, uint8_t* dst) {
    HWY_DYNAMIC_DISPATCH(MedianOfMediansRow)(above, row, below, width, dst);
}

}  // namespace eis
#endif
