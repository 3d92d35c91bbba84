#include <algorithm>

#include "libCore/core/source/neon/wavelet/q7_convert.h"

namespace eis {

void WidenQ7_plain(const uint8_t* pSrc, int16_t* pDst, int width, int height) {
    const int64_t samples = int64_t{width} * height;
    for (int64_t i = 0; i < samples; ++i) pDst[i] = static_cast<int16_t>(pSrc[i] << 7);
}

namespace {

uint8_t narrowed(int16_t sample) {
    return static_cast<uint8_t>(std::clamp((sample + 64) >> 7, 0, 255));
}

}  // namespace

void NarrowQ7Round_plain(const int16_t* pSrc, uint8_t* pDst, int width, int height) {
    const int64_t samples = int64_t{width} * height;
    for (int64_t i = 0; i < samples; ++i) pDst[i] = narrowed(pSrc[i]);
}

void NarrowQ7Sum_plain(const int16_t* pA, const int16_t* pB, uint8_t* pDst, int width) {
    for (int x = 0; x < width; ++x) pDst[x] = narrowed(static_cast<int16_t>(pA[x] + pB[x]));
}

}  // namespace eis
