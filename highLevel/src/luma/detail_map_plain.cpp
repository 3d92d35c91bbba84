#include <algorithm>

#include "highLevel/src/luma/detail_map.h"
#include "highLevel/src/luma/gauss_weight.h"
#include "highLevel/src/luma/median_of_three.h"
#include "libCore/core/source/frame/second_sweep.h"

namespace eis {

void Median3x3Separable_plain(uint8_t* pPlane, int width, int height, uint8_t* pTmp) {
    for (int y = 0; y < height; ++y) {
        for (int x = 1; x < width - 1; ++x) {
            const uint8_t* s = pPlane + int64_t{y} * width + x;
            pTmp[int64_t{y} * width + x] = medianOfThree(s[-1], s[0], s[1]);
        }
    }
    for (int y = 1; y < height - 1; ++y) {
        for (int x = 1; x < width - 1; ++x) {
            const uint8_t* s = pTmp + int64_t{y} * width + x;
            pPlane[int64_t{y} * width + x] = medianOfThree(s[-width], s[0], s[width]);
        }
    }
}

void GaussRemapPlane_plain(uint8_t* pPlane, int stride, int width, int height, int32_t sigma, int32_t centre) {
    if (sigma < 0) return;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            uint8_t& sample = pPlane[int64_t{y} * stride + x];
            sample = static_cast<uint8_t>(gaussWeighted(sample, sigma, centre));
        }
    }
}

void ScaleByLuma_plain(uint8_t* pPlane, const uint8_t* pLuma, int width, int height, int32_t lumaLimit) {
    if (lumaLimit <= 127) return;
    const int scale = 32768 / lumaLimit;
    for (int y = 0; y < height; ++y) {
        uint8_t* plane = pPlane + int64_t{y} * width;
        const uint8_t* luma = pLuma + int64_t{y} * width;
        sweepRow<8>(width, [&](int first, int count) {
            for (int x = first; x < first + count; ++x) {
                const int weight = std::min(luma[x] * scale, 32768);
                plane[x] = static_cast<uint8_t>(std::min((plane[x] * weight) >> 15, 255));
            }
        });
    }
}

}  // namespace eis
