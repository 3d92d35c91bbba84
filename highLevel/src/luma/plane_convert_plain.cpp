#include <algorithm>

#include "highLevel/src/luma/median_of_three.h"
#include "highLevel/src/luma/plane_convert.h"
#include "libCore/core/source/frame/alignment.h"

namespace eis {

void WidenPlane128_plain(const uint8_t* pSrc, int16_t* pDst, int width, int height) {
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) pDst[int64_t{y} * width + x] = pSrc[int64_t{y} * stride128(width) + x];
    }
}

void NarrowPlaneSat_plain(const int16_t* pSrc, uint8_t* pDst, int width, int height) {
    for (int64_t i = 0; i < int64_t{width} * height; ++i) {
        pDst[i] = static_cast<uint8_t>(std::clamp<int16_t>(pSrc[i], 0, 255));
    }
}

void Median3x3ToWide_plain(const uint8_t* pSrc, int16_t* pDst, int width, int height, int srcStride,
                           uint8_t* /*pLineBuf*/) {
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const uint8_t* here = pSrc + int64_t{y} * srcStride + x;
            const auto median = [&](int row) {
                const uint8_t* s = here + int64_t{row} * srcStride;
                return medianOfThree(s[-1], s[0], s[1]);
            };
            const bool inside = x > 0 && x < width - 1 && y > 0 && y < height - 1;
            pDst[int64_t{y} * width + x] = inside ? medianOfThree(median(-1), median(0), median(1)) : *here;
        }
    }
}

}  // namespace eis
