#include <algorithm>
#include <cstdlib>

#include "highLevel/src/luma/gradient_planes.h"

namespace eis {

namespace {

int weightedSum(int a, int twice, int b) {
    return static_cast<int16_t>(a + 2 * twice + b);
}

int gradient(int a, int b, int threshold) {
    const int difference = std::min(std::abs(a - b), 255);
    return difference >= threshold ? difference : 0;
}

}  // namespace

void GradientPlanes_plain(const int16_t* pLow, uint8_t* pPlanes, int width, int height, int stride, int threshold) {
    const int64_t planeSize = int64_t{width} * height;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            int gx = 0;
            int gy = 0;
            if (x > 0 && x < width - 1 && y > 0 && y < height - 1) {
                const int16_t* r1 = pLow + int64_t{y} * stride + x;
                const int16_t* r0 = r1 - stride;
                const int16_t* r2 = r1 + stride;
                gx = gradient(weightedSum(r0[-1], r1[-1], r2[-1]), weightedSum(r0[1], r1[1], r2[1]), threshold);
                gy = gradient(weightedSum(r0[-1], r0[0], r0[1]), weightedSum(r2[-1], r2[0], r2[1]), threshold);
            }
            uint8_t* out = pPlanes + int64_t{y} * width + x;
            out[0] = static_cast<uint8_t>(gx);
            out[planeSize] = static_cast<uint8_t>(gy);
            out[2 * planeSize] = static_cast<uint8_t>((gx + gy + 1) >> 1);
        }
    }
}

}  // namespace eis
