#include <algorithm>
#include <cstdlib>

#include "highLevel/src/chroma_edges.h"
#include "highLevel/src/second_sweep.h"

namespace eis {

namespace {

int halve(int a, int b) {
    return (a + b + 1) >> 1;
}

uint8_t sobelSample(const uint8_t* r0, const uint8_t* r1, const uint8_t* r2) {
    const int gx = std::abs((r0[2] + 2 * r1[2] + r2[2]) - (r0[0] + 2 * r1[0] + r2[0]));
    const int gy = std::abs((r0[0] + 2 * r0[1] + r0[2]) - (r2[0] + 2 * r2[1] + r2[2]));
    return static_cast<uint8_t>(std::min(gx + gy, 255));
}

}  // namespace

void ChromaMagnitude_plain(const uint8_t* pU, const uint8_t* pV, uint8_t* pOut, int width, int height, int stride) {
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int64_t i = int64_t{y} * stride + x;
            pOut[i] = static_cast<uint8_t>(std::min(std::abs(pU[i] - 128) + std::abs(pV[i] - 128) + 64, 255));
        }
    }
}

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

void SobelMagnitude_plain(const uint8_t* pSrc, uint8_t* pDst, int width, int height, int srcStride, int dstStride) {
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            uint8_t& out = pDst[int64_t{y} * dstStride + x];
            if (y == 0 || y == height - 1 || x == 0 || x == width - 1) {
                out = 0;
            } else {
                const uint8_t* window = pSrc + int64_t{y - 1} * srcStride + x - 1;
                out = sobelSample(window, window + srcStride, window + int64_t{2} * srcStride);
            }
        }
    }
}

void SatAddPlane_plain(uint8_t* pDst, const uint8_t* pAdd, int width, int height) {
    for (int y = 0; y < height; ++y) {
        uint8_t* dst = pDst + int64_t{y} * width;
        const uint8_t* add = pAdd + int64_t{y} * width;
        sweepRow<16>(width, [&](int first, int count) {
            for (int x = first; x < first + count; ++x) dst[x] = static_cast<uint8_t>(std::min(dst[x] + add[x], 255));
        });
    }
}

}  // namespace eis
