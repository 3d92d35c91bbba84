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

void GradientRow_plain(const int16_t* above, const int16_t* row, const int16_t* below, int width, int threshold,
                       const GradientRows& out) {
    for (int x = 0; x < width; ++x) {
        int gx = 0;
        int gy = 0;
        if (x > 0 && x < width - 1) {
            const int16_t* r0 = above + x;
            const int16_t* r1 = row + x;
            const int16_t* r2 = below + x;
            gx = gradient(weightedSum(r0[-1], r1[-1], r2[-1]), weightedSum(r0[1], r1[1], r2[1]), threshold);
            gy = gradient(weightedSum(r0[-1], r0[0], r0[1]), weightedSum(r2[-1], r2[0], r2[1]), threshold);
        }
        out.x[x] = static_cast<uint8_t>(gx);
        out.y[x] = static_cast<uint8_t>(gy);
        out.mean[x] = static_cast<uint8_t>((gx + gy + 1) >> 1);
    }
}

}  // namespace eis
