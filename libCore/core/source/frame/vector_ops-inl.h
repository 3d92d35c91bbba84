// Steps of vector code that the vector library has no word for. Included once a target, behind vector_unit.h.
#if defined(EIS_FRAME_VECTOR_OPS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef EIS_FRAME_VECTOR_OPS_INL_H
#undef EIS_FRAME_VECTOR_OPS_INL_H
#else
#define EIS_FRAME_VECTOR_OPS_INL_H
#endif

#include <cstdint>

EIS_BEFORE_TARGET();

// The floor of half the exact sum, which the lanes need not hold.
template <class V>
HWY_INLINE V FloorHalf(V a, V b) {
    return hn::Add(hn::And(a, b), hn::ShiftRight<1>(hn::Xor(a, b)));
}

// The magnitude with the sign of another value. Where that is 0, the magnitude should be as well: targets differ there.
template <class V>
HWY_INLINE V WithSignOf(V sign, V magnitude) {
    const V mask = hn::BroadcastSignBit(sign);
    return hn::Sub(hn::Xor(magnitude, mask), mask);
}
#if HWY_TARGET == HWY_AVX2
HWY_INLINE hn::Vec256<int16_t> WithSignOf(hn::Vec256<int16_t> sign, hn::Vec256<int16_t> magnitude) {
    return hn::Vec256<int16_t>{_mm256_sign_epi16(magnitude.raw, sign.raw)};
}
#endif

// Two vectors of 128 or 256 bits, their signed lanes saturated to bytes: in each block of 128 bits first's, then
// second's.
template <class V>
HWY_INLINE auto PackBlocks(V first, V second) {
    const hn::Repartition<uint8_t, hn::DFromV<V>> d;
#if HWY_ARCH_ARM
    const hn::Half<decltype(d)> half;
    return hn::Combine(d, hn::DemoteTo(half, second), hn::DemoteTo(half, first));
#elif !HWY_CAP_GE256
    return hn::Vec<decltype(d)>{_mm_packus_epi16(first.raw, second.raw)};
#else
    return hn::Vec<decltype(d)>{_mm256_packus_epi16(first.raw, second.raw)};
#endif
}

// The same, first's before second's in the whole vector.
template <class V>
HWY_INLINE auto PackBytes(V first, V second) {
    const auto blocks = PackBlocks(first, second);
#if HWY_CAP_GE256
    return hn::VFromD<hn::Repartition<uint8_t, hn::DFromV<V>>>{_mm256_permute4x64_epi64(blocks.raw, 0xD8)};
#else
    return blocks;
#endif
}

// Stores what interleaving the lower and the upper halves of blocks has left, in order.
template <class V>
HWY_INLINE void StoreInterleaved(V lower, V upper, uint8_t* to) {
    const hn::DFromV<V> d;
#if HWY_CAP_GE256
    hn::StoreU(hn::ConcatLowerLower(d, upper, lower), d, to);
    hn::StoreU(hn::ConcatUpperUpper(d, upper, lower), d, to + hn::MaxLanes(d));
#else
    hn::StoreU(lower, d, to);
    hn::StoreU(upper, d, to + hn::MaxLanes(d));
#endif
}

#if HWY_ARCH_X86
// Sums of the products of neighbours, saturated to 16 bits: unsigned bytes by signed ones.
HWY_INLINE hn::Vec128<uint16_t> PairwiseProducts(hn::Vec128<uint8_t> bytes, hn::Vec128<uint8_t> signedBytes) {
    return hn::Vec128<uint16_t>{_mm_maddubs_epi16(bytes.raw, signedBytes.raw)};
}
#if HWY_CAP_GE256
HWY_INLINE hn::Vec256<uint16_t> PairwiseProducts(hn::Vec256<uint8_t> bytes, hn::Vec256<uint8_t> signedBytes) {
    return hn::Vec256<uint16_t>{_mm256_maddubs_epi16(bytes.raw, signedBytes.raw)};
}
#endif
#endif

EIS_AFTER_TARGET();

#endif
