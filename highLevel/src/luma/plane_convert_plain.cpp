#include <algorithm>

#include "highLevel/src/luma/median_of_three.h"
#include "highLevel/src/luma/plane_convert.h"
#include "libCore/core/source/frame/alignment.h"

namespace eis {

void WidenPlane128(const uint8_t* pSrc, int16_t* pDst, int width, int height) {
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) pDst[int64_t{y} * width + x] = pSrc[int64_t{y} * stride128(width) + x];
    }
}

void NarrowPlaneSat_plain(const int16_t* pSrc, uint8_t* pDst, int width, int height) {
    for (int64_t i = 0; i < int64_t{width} * height; ++i) {
        pDst[i] = static_cast<uint8_t>(std::clamp<int16_t>(pSrc[i], 0, 255));
    }
}

void Median3x3ToWide(const uint8_t* pSrc, int16_t* pDst, int width, int height, int srcStride, uint8_t* pLineBuf) {
    for (int y = 0; y < height && width > 0; ++y) {
        const uint8_t* row = pSrc + int64_t{y} * srcStride;
        const bool inside = y > 0 && y < height - 1;
        if (inside) Median3x3Row(row - srcStride, row, row + srcStride, width, pLineBuf);
        std::copy_n(inside ? pLineBuf : row, width, pDst + int64_t{y} * width);
    }
}

void Median3x3Row_plain(const uint8_t* above, const uint8_t* row, const uint8_t* below, int width, uint8_t* dst) {
    for (int x = 0; x < width; ++x) {
        const auto along = [x](const uint8_t* line) { return medianOfThree(line[x - 1], line[x], line[x + 1]); };
        const bool inside = x > 0 && x < width - 1;
        dst[x] = inside ? medianOfThree(along(above), along(row), along(below)) : row[x];
    }
}

}  // namespace eis
