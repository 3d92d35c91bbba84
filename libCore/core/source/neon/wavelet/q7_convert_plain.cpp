#include <algorithm>

#include "libCore/core/source/neon/wavelet/q7_convert.h"

namespace eis {

void WidenQ7_plain(const uint8_t* pSrc, int16_t* pDst, int width, int height) {
    const int64_t samples = int64_t{width} * height;
    for (int64_t i = 0; i < samples; ++i) pDst[i] = static_cast<int16_t>(pSrc[i] << 7);
}

void NarrowQ7Round_plain(const int16_t* pSrc, uint8_t* pDst, int width, int height) {
    const int64_t samples = int64_t{width} * height;
    for (int64_t i = 0; i < samples; ++i) pDst[i] = static_cast<uint8_t>(std::clamp((pSrc[i] + 64) >> 7, 0, 255));
}

}  // namespace eis
