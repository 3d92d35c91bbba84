#include "highLevel/src/q7_convert.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "highLevel/src/q7_convert.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

void WidenSamples(const uint8_t* HWY_RESTRICT src, int16_t* HWY_RESTRICT dst, int64_t samples) {
    for (int64_t i = 0; i < samples; ++i) dst[i] = static_cast<int16_t>(src[i] << 7);
}

// Rounds by the bit below the cut, so that no sum leaves 16 bits.
void NarrowSamples(const int16_t* HWY_RESTRICT src, uint8_t* HWY_RESTRICT dst, int64_t samples) {
    for (int64_t i = 0; i < samples; ++i) {
        const auto rounded = static_cast<int16_t>((src[i] >> 7) + ((src[i] >> 6) & 1));
        const auto positive = static_cast<int16_t>(rounded < 0 ? 0 : rounded);
        dst[i] = static_cast<uint8_t>(positive > 255 ? 255 : positive);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(WidenSamples);
HWY_EXPORT(NarrowSamples);

void WidenQ7(const uint8_t* pSrc, int16_t* pDst, int width, int height) {
    HWY_DYNAMIC_DISPATCH(WidenSamples)(pSrc, pDst, int64_t{width} * height);
}

void NarrowQ7Round(const int16_t* pSrc, uint8_t* pDst, int width, int height) {
    HWY_DYNAMIC_DISPATCH(NarrowSamples)(pSrc, pDst, int64_t{width} * height);
}

}  // namespace eis
#endif
