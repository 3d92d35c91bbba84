#include <algorithm>

#include "libCore/core/source/neon/resample/binomial3x3.h"

namespace eis {

namespace {

int halve(int a, int b) {
    return (a + b + 1) >> 1;
}

}  // namespace

// NOLINTNEXTLINE(readability-function-size): a signature of the system
void Binomial3x3_plain(const uint8_t* pSrc, uint8_t* pDst, uint8_t* pTmp, int width, int height, int srcStride,
                       int dstStride, int tmpStride) {
    for (int i = 0; i < height; ++i) {
        const uint8_t* x = pSrc + int64_t{i} * srcStride;
        uint8_t* out = pTmp + int64_t{i} * tmpStride;
        for (int j = 0; j < width; ++j) {
            if (j == 0) {
                out[j] = static_cast<uint8_t>((3 * x[0] + x[std::min(1, width - 1)]) >> 2);
            } else if (j == width - 1) {
                out[j] = static_cast<uint8_t>((x[j - 1] + 3 * x[j]) >> 2);
            } else {
                out[j] = static_cast<uint8_t>(halve(halve(x[j - 1], x[j + 1]), x[j]));
            }
        }
    }
    for (int i = 0; i < height; ++i) {
        const auto y = [&](int row, int j) { return pTmp[int64_t{row} * tmpStride + j]; };
        for (int j = 0; j < width; ++j) {
            int above = i - 1;
            int below = i + 1;
            if (i == 0) {
                above = 0;
                below = std::min(1, height - 1);
            } else if (i == height - 1) {
                below = i;
            }
            pDst[int64_t{i} * dstStride + j] = static_cast<uint8_t>(halve(halve(y(above, j), y(below, j)), y(i, j)));
        }
    }
}

}  // namespace eis
