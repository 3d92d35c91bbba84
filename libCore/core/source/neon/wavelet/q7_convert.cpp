#include "libCore/core/source/neon/wavelet/q7_convert.h"

#define HWY_TARGET_INCLUDE "libCore/core/source/neon/wavelet/q7_convert.cpp"
#include "libCore/core/source/frame/vector_unit.h"

EIS_BEFORE_TARGET();

void WidenSamples(const uint8_t* HWY_RESTRICT src, int16_t* HWY_RESTRICT dst, int64_t samples) {
    for (int64_t i = 0; i < samples; ++i) dst[i] = static_cast<int16_t>(src[i] << 7);
}

// Of the samples load(d, i), from i on. (sample + 64) >> 7 is the rounding high multiply by 256.
template <class Load>
HWY_INLINE void Narrow(Load load, uint8_t* HWY_RESTRICT dst, int64_t samples) {
    const auto narrow = [&](auto d, int64_t i) HWY_ATTR {
        const hn::Rebind<uint8_t, decltype(d)> d8;
        hn::StoreU(hn::DemoteTo(d8, hn::MulFixedPoint15(load(d, i), hn::Set(d, 256))), d8, dst + i);
    };
    const hn::ScalableTag<int16_t> d;
    const auto lanes = static_cast<int64_t>(hn::Lanes(d));
    int64_t i = 0;
#if HWY_ARCH_ARM
    for (; i + 16 <= samples; i += 16) {
        const uint8x8_t first = vqrshrun_n_s16(load(d, i).raw, 7);
        vst1q_u8(dst + i, vqrshrun_high_n_s16(first, load(d, i + 8).raw, 7));
    }
#endif
    for (; i + lanes <= samples; i += lanes) narrow(d, i);
    for (; i < samples; ++i) narrow(hn::CappedTag<int16_t, 1>(), i);
}

void NarrowSamples(const int16_t* HWY_RESTRICT src, uint8_t* HWY_RESTRICT dst, int64_t samples) {
    Narrow([&](auto d, int64_t i) HWY_ATTR { return hn::LoadU(d, src + i); }, dst, samples);
}

void NarrowSums(const int16_t* HWY_RESTRICT a, const int16_t* HWY_RESTRICT b, uint8_t* HWY_RESTRICT dst, int width) {
    Narrow([&](auto d, int64_t i) HWY_ATTR { return hn::Add(hn::LoadU(d, a + i), hn::LoadU(d, b + i)); }, dst, width);
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(WidenSamples);
HWY_EXPORT(NarrowSamples);
HWY_EXPORT(NarrowSums);

void WidenQ7(const uint8_t* pSrc, int16_t* pDst, int width, int height) {
    HWY_DYNAMIC_DISPATCH(WidenSamples)(pSrc, pDst, int64_t{width} * height);
}

void NarrowQ7Round(const int16_t* pSrc, uint8_t* pDst, int width, int height) {
    HWY_DYNAMIC_DISPATCH(NarrowSamples)(pSrc, pDst, int64_t{width} * height);
}

void NarrowQ7Sum(const int16_t* pA, const int16_t* pB, uint8_t* pDst, int width) {
    HWY_DYNAMIC_DISPATCH(NarrowSums)(pA, pB, pDst, width);
}

}  // namespace eis
#endif
