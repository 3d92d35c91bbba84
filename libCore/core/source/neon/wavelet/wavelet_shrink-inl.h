// The shrinkage of a row's details, for each vector target: WaveletShrinkLevel is its definition. Block columns
// alone; counts are multiples of eight.
#if defined(EIS_WAVELET_SHRINK_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef EIS_WAVELET_SHRINK_INL_H
#undef EIS_WAVELET_SHRINK_INL_H
#else
#define EIS_WAVELET_SHRINK_INL_H
#endif

#include <cstdint>

#include "libCore/core/source/frame/vector_ops-inl.h"
#include "libCore/core/source/neon/wavelet/shrink_curve.h"

EIS_BEFORE_TARGET();

// The four-entry table of gains as three selections.
HWY_INLINE uint32_t Gain(const ShrinkCurve& curve, int32_t low) {
    const uint32_t dark = low < 0x2000 ? curve.gains[0] : curve.gains[1];
    const uint32_t bright = low < 0x6000 ? curve.gains[2] : curve.gains[3];
    return low < 0x4000 ? dark : bright;
}

// Only the low 16 bits of a result count, and within them sums wrap as they should.
template <bool first>
HWY_INLINE int16_t Shrink(int16_t high, int16_t low, uint16_t map, const ShrinkCurve& curve) {
    const auto d = static_cast<int16_t>(high - low);
    const auto raw = static_cast<uint16_t>((map * Gain(curve, low) + 8192) >> 14);
    const auto floor = static_cast<uint16_t>(curve.floor);
    const uint16_t threshold = first && raw < floor ? floor : raw;
    const uint32_t product = (threshold * static_cast<uint32_t>(curve.slope) + 16384) >> 15;
    const auto soft = static_cast<uint16_t>(product < 65535 ? product : 65535);
    const auto above = static_cast<int16_t>(threshold);
    const auto below = static_cast<int16_t>(-above);
    const int32_t scaled = (d * curve.keep + 16384) >> 15;
    const auto noise = static_cast<int16_t>(scaled < 32767 ? scaled : 32767);
    const auto positive = static_cast<int16_t>(d - soft);
    const auto negative = static_cast<int16_t>(d + soft);
    const int16_t notAbove = d < below ? negative : noise;
    const int16_t shrunk = d > above ? positive : notAbove;
    const bool kept = first && -curve.floor < d && d < curve.floor;
    return kept ? d : shrunk;
}

// For every table and curve.
template <bool first>
void ShrinkRowWide(const int16_t* HWY_RESTRICT high, const int16_t* HWY_RESTRICT low, const uint16_t* HWY_RESTRICT map,
                   int16_t* HWY_RESTRICT sum, int count, const ShrinkCurve& shared) {
    const ShrinkCurve curve = shared;
    for (int x = 0; x < count; ++x) {
        const int16_t shrunk = Shrink<first>(high[x], low[x], map[x], curve);
        sum[x] = static_cast<int16_t>(first ? shrunk : sum[x] + shrunk);
    }
}

// What a row of 16-bit steps takes from a curve.
struct NarrowCurve {
    int16_t gains[8];  // twice those of the brightness classes; a block of a shuffle
    int16_t slope;
    int16_t keep;
    int16_t floor;
};

// Whether thresholds are rounding high multiplies of a map value and twice a gain, and stay positive; the larger part
// of a threshold and what the noise band keeps are such multiplies too.
inline bool FitsNarrow(const ShrinkCurve& curve, uint16_t mapMax) {
    for (const uint32_t gain : curve.gains) {
        if (gain > 16383) return false;
    }
    return mapMax <= 32767 && curve.keep >= 1 && curve.floor >= 0;
}

inline NarrowCurve NarrowCurveOf(const ShrinkCurve& curve) {
    NarrowCurve narrow{};
    for (int i = 0; i < 8; ++i) narrow.gains[i] = static_cast<int16_t>(2 * curve.gains[i & 3]);
    narrow.slope = static_cast<int16_t>(curve.slope);
    narrow.keep = static_cast<int16_t>(curve.keep);
    narrow.floor = static_cast<int16_t>(curve.floor);
    return narrow;
}

// The gain of each Q7 sample.
template <class D>
HWY_INLINE hn::Vec<D> GainsAt(D d, hn::Vec<D> level, const NarrowCurve& curve) {
    const hn::RebindToUnsigned<D> du;
    const hn::Repartition<uint8_t, D> d8;
    // Twice the brightness class and one more: where the two bytes of its gain stand.
    const auto bin = hn::And(hn::BitCast(du, level), hn::Set(du, 0x6000));
    const auto at = hn::Or(hn::MulHigh(bin, hn::Set(du, 0x1010)), hn::Set(du, 0x0100));
    const auto gains = hn::BitCast(d8, hn::LoadDup128(d, curve.gains));
    return hn::BitCast(d, hn::TableLookupBytes(gains, hn::BitCast(d8, at)));
}

// Value less an amount with the value's sign.
template <class V>
HWY_INLINE V Towards0(V value, V amount) {
#if HWY_ARCH_ARM
    const int16x8_t sign = vorrq_s16(vshrq_n_s16(value.raw, 15), vdupq_n_s16(1));
    return V(vmlsq_s16(value.raw, amount.raw, sign));
#else
    return hn::Sub(value, WithSignOf(value, amount));
#endif
}

// One vector, for Q7 samples, and curves and maps that fit.
template <bool first, class D>
HWY_INLINE hn::Vec<D> ShrinkNarrow(D d, hn::Vec<D> gain, hn::Vec<D> level, const int16_t* high, const uint16_t* map,
                                   const NarrowCurve& curve) {
    const hn::RebindToUnsigned<D> du;
    const auto weight = hn::BitCast(d, hn::LoadU(du, map));
    const auto floor = hn::Set(d, curve.floor);
    auto threshold = hn::MulFixedPoint15(weight, gain);
    if constexpr (first) threshold = hn::Max(threshold, floor);

    const auto detail = hn::Sub(hn::LoadU(d, high), level);
    const auto size = hn::Abs(detail);
    const auto taken = hn::MulFixedPoint15(threshold, hn::Set(d, curve.slope));
    const auto outer = Towards0(detail, taken);
    const auto noise = hn::MulFixedPoint15(detail, hn::Set(d, curve.keep));
    const auto shrunk = hn::IfThenElse(hn::Gt(size, threshold), outer, noise);
    return first ? hn::IfThenElse(hn::Lt(size, floor), detail, shrunk) : shrunk;
}

template <bool first>
void ShrinkRowNarrow(const int16_t* HWY_RESTRICT high, const int16_t* HWY_RESTRICT low,
                     const uint16_t* HWY_RESTRICT map, int16_t* HWY_RESTRICT sum, int count,
                     const NarrowCurve& shared) {
    const NarrowCurve curve = shared;
    const auto shrink = [&](auto d, hn::Vec<decltype(d)> gain, hn::Vec<decltype(d)> level, int x) HWY_ATTR {
        const auto shrunk = ShrinkNarrow<first>(d, gain, level, high + x, map + x, curve);
        hn::StoreU(first ? shrunk : hn::Add(hn::LoadU(d, sum + x), shrunk), d, sum + x);
    };
    const auto shrinkAt = [&](auto d, int x) HWY_ATTR {
        const auto level = hn::LoadU(d, low + x);
        shrink(d, GainsAt(d, level, curve), level, x);
    };
    const hn::ScalableTag<int16_t> d;
    const int lanes = static_cast<int>(hn::Lanes(d));
    int x = 0;
#if HWY_ARCH_ARM
    // Two vectors are looked up as one of brightness classes, for the gains' lower and for their upper bytes.
    const uint8x16_t gains = vreinterpretq_u8_s16(vld1q_s16(curve.gains));
    const uint8x16_t lower = vuzp1q_u8(gains, gains);
    const uint8x16_t upper = vuzp2q_u8(gains, gains);
    for (; x + 2 * lanes <= count; x += 2 * lanes) {
        const auto a = hn::LoadU(d, low + x);
        const auto b = hn::LoadU(d, low + x + lanes);
        const uint8x16_t bins = vshrq_n_u8(vuzp2q_u8(vreinterpretq_u8_s16(a.raw), vreinterpretq_u8_s16(b.raw)), 5);
        const uint8x16_t lowerBytes = vqtbl1q_u8(lower, bins);
        const uint8x16_t upperBytes = vqtbl1q_u8(upper, bins);
        shrink(d, hn::Vec<decltype(d)>(vreinterpretq_s16_u8(vzip1q_u8(lowerBytes, upperBytes))), a, x);
        shrink(d, hn::Vec<decltype(d)>(vreinterpretq_s16_u8(vzip2q_u8(lowerBytes, upperBytes))), b, x + lanes);
    }
#endif
    for (; x + lanes <= count; x += lanes) shrinkAt(d, x);
    for (; x < count; x += 8) shrinkAt(hn::CappedTag<int16_t, 8>(), x);
}

EIS_AFTER_TARGET();

#endif
