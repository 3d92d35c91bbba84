#include <algorithm>
#include <cstdlib>

#include "highLevel/src/chroma/chroma_edges.h"
#include "libCore/core/source/frame/second_sweep.h"

namespace eis {

namespace {

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
