// Steps of vector code that the vector library has no word for. Included once a target, behind vector_unit.h.
#if defined(EIS_FRAME_VECTOR_OPS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef EIS_FRAME_VECTOR_OPS_INL_H
#undef EIS_FRAME_VECTOR_OPS_INL_H
#else
#define EIS_FRAME_VECTOR_OPS_INL_H
#endif

#include <cstdint>

EIS_BEFORE_TARGET();

// The floor of half the exact sum, which the lanes need not hold. Signed words, unsigned bytes.
template <class V>
HWY_INLINE V FloorHalf(V a, V b) {
    if constexpr (sizeof(hn::TFromV<V>) == 1) {
        return hn::Sub(hn::AverageRound(a, b), hn::And(hn::Xor(a, b), hn::Set(hn::DFromV<V>(), 1)));
    } else {
        return hn::Add(hn::And(a, b), hn::ShiftRight<1>(hn::Xor(a, b)));
    }
}
#if HWY_ARCH_ARM
HWY_INLINE hn::Vec128<int16_t> FloorHalf(hn::Vec128<int16_t> a, hn::Vec128<int16_t> b) {
    return hn::Vec128<int16_t>(vhaddq_s16(a.raw, b.raw));
}
HWY_INLINE hn::Vec128<uint8_t> FloorHalf(hn::Vec128<uint8_t> a, hn::Vec128<uint8_t> b) {
    return hn::Vec128<uint8_t>(vhaddq_u8(a.raw, b.raw));
}
#endif

// The distance of unsigned bytes.
template <class V>
HWY_INLINE V Distance(V a, V b) {
#if HWY_ARCH_ARM
    return V(vabdq_u8(a.raw, b.raw));
#else
    return hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a));
#endif
}

// The middle one of three.
template <class V>
HWY_INLINE V Median(V a, V b, V c) {
    return hn::Max(hn::Min(a, b), hn::Min(hn::Max(a, b), c));
}

// Goes over a row in steps: step(x) does kStep samples from x on, the last time over some of the step before. Of a row
// shorter than a step each sample has single(x).
template <int kStep, class Step, class Single>
HWY_INLINE void ForSteps(int count, Step step, Single single) {
    if (count < kStep) {
        for (int x = 0; x < count; ++x) single(x);
        return;
    }
    const int end = count - kStep;
    int x = 0;
#if HWY_ARCH_ARM
    // Two at a time leave half of the loop's own instructions. x86 has room for these, and streams run slower so.
    for (; x + kStep < end; x += 2 * kStep) {
        step(x);
        step(x + kStep);
    }
#endif
    for (; x < end; x += kStep) step(x);
    step(end);
}

// Fills a row from vector(x), the samples of `d` from x on; of a row shorter than a vector each is sample(x).
template <class D, class Vector, class Sample>
HWY_INLINE void FillRow(D d, int count, hn::TFromD<D>* out, Vector vector, Sample sample) {
    ForSteps<static_cast<int>(hn::MaxLanes(D()))>(
        count, [&](int x) HWY_ATTR { hn::StoreU(vector(x), d, out + x); }, [&](int x) { out[x] = sample(x); });
}

// The same in place, from what stands at the samples' own places: the last vector is made first.
template <class D, class Vector, class Sample>
HWY_INLINE void ChangeRow(D d, int count, hn::TFromD<D>* row, Vector vector, Sample sample) {
    constexpr int kStep = static_cast<int>(hn::MaxLanes(D()));
    if (count < kStep) {
        for (int x = 0; x < count; ++x) row[x] = sample(x);
        return;
    }
    const auto last = vector(count - kStep);
    for (int x = 0; x < count - kStep; x += kStep) hn::StoreU(vector(x), d, row + x);
    hn::StoreU(last, d, row + count - kStep);
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
    return hn::VFromD<decltype(d)>(vqmovun_high_s16(vqmovun_s16(first.raw), second.raw));
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

// The bytes of a vector as words in two, in the order that comes easiest to the target: JoinBytes puts it right.
template <class V>
struct WordPair {
    V a;
    V b;
};
template <class V>
WordPair(V, V) -> WordPair<V>;

template <class V8>
using UnsignedWords = hn::Vec<hn::Repartition<uint16_t, hn::DFromV<V8>>>;
template <class V8>
using SignedWords = hn::Vec<hn::Repartition<int16_t, hn::DFromV<V8>>>;

template <class V8>
HWY_INLINE WordPair<UnsignedWords<V8>> SplitBytes(V8 v) {
    using Words = UnsignedWords<V8>;
#if HWY_ARCH_ARM
    return {Words(vmovl_u8(vget_low_u8(v.raw))), Words(vmovl_high_u8(v.raw))};
#else
    const hn::DFromV<Words> d;
    const Words words = hn::BitCast(d, v);
    return {hn::And(words, hn::Set(d, 0xFF)), hn::ShiftRight<8>(words)};
#endif
}

// Of words 0 to 255.
template <class V>
HWY_INLINE auto JoinBytes(const WordPair<V>& words) {
    const hn::Repartition<uint8_t, hn::DFromV<V>> d8;
#if HWY_ARCH_ARM
    return hn::ConcatEven(d8, hn::BitCast(d8, words.b), hn::BitCast(d8, words.a));
#else
    return hn::BitCast(d8, hn::Or(words.a, hn::ShiftLeft<8>(words.b)));
#endif
}

// The same of signed words, saturated.
template <class V>
HWY_INLINE auto JoinSaturated(const WordPair<V>& words) {
#if HWY_ARCH_ARM
    return PackBlocks(words.a, words.b);
#else
    const hn::DFromV<V> d;
    const auto saturated = [&](V v) HWY_ATTR { return hn::Min(hn::Max(v, hn::Zero(d)), hn::Set(d, 255)); };
    return JoinBytes(WordPair<V>{saturated(words.a), saturated(words.b)});
#endif
}

// a - b of bytes.
template <class V8>
HWY_INLINE WordPair<SignedWords<V8>> Differences(V8 a, V8 b) {
    using Words = SignedWords<V8>;
#if HWY_ARCH_ARM
    return {Words(vreinterpretq_s16_u16(vsubl_u8(vget_low_u8(a.raw), vget_low_u8(b.raw)))),
            Words(vreinterpretq_s16_u16(vsubl_high_u8(a.raw, b.raw)))};
#else
    const hn::DFromV<Words> d;
    const auto from = SplitBytes(a);
    const auto taken = SplitBytes(b);
    return {hn::BitCast(d, hn::Sub(from.a, taken.a)), hn::BitCast(d, hn::Sub(from.b, taken.b))};
#endif
}

// The same in order, the words of the lower half first.
template <class V8>
HWY_INLINE WordPair<SignedWords<V8>> OrderedDifferences(V8 a, V8 b) {
#if HWY_ARCH_ARM
    return Differences(a, b);
#else
    const hn::DFromV<SignedWords<V8>> d;
    const hn::DFromV<V8> d8;
    const hn::Half<decltype(d8)> half;
    return {hn::Sub(hn::PromoteTo(d, hn::LowerHalf(half, a)), hn::PromoteTo(d, hn::LowerHalf(half, b))),
            hn::Sub(hn::PromoteTo(d, hn::UpperHalf(half, a)), hn::PromoteTo(d, hn::UpperHalf(half, b)))};
#endif
}

// a * weightA + b * weightB of bytes, which must stay below 65536.
template <class V8>
HWY_INLINE WordPair<UnsignedWords<V8>> Weighted(V8 a, uint8_t weightA, V8 b, uint8_t weightB) {
    using Words = UnsignedWords<V8>;
#if HWY_ARCH_ARM
    const uint8x16_t byA = vdupq_n_u8(weightA);
    const uint8x16_t byB = vdupq_n_u8(weightB);
    return {Words(vmlal_u8(vmull_u8(vget_low_u8(a.raw), vget_low_u8(byA)), vget_low_u8(b.raw), vget_low_u8(byB))),
            Words(vmlal_high_u8(vmull_high_u8(a.raw, byA), b.raw, byB))};
#else
    const hn::DFromV<Words> d;
    const auto sum = [&](Words wordsA, Words wordsB) HWY_ATTR {
        return hn::Add(hn::Mul(wordsA, hn::Set(d, weightA)), hn::Mul(wordsB, hn::Set(d, weightB)));
    };
    const auto wordsA = SplitBytes(a);
    const auto wordsB = SplitBytes(b);
    return {sum(wordsA.a, wordsB.a), sum(wordsA.b, wordsB.b)};
#endif
}

// (words + 128) >> 8 as bytes, where the sums stay below 65536.
template <class V>
HWY_INLINE auto RoundedUpperBytes(const WordPair<V>& words) {
    const hn::DFromV<V> d;
    const hn::Repartition<uint8_t, hn::DFromV<V>> d8;
#if HWY_ARCH_ARM
    (void)d;
    return hn::VFromD<decltype(d8)>(vrshrn_high_n_u16(vrshrn_n_u16(words.a.raw, 8), words.b.raw, 8));
#else
    const V half = hn::Set(d, 128);
    const V odd = hn::And(hn::Add(words.b, half), hn::Set(d, 0xFF00));
    return hn::BitCast(d8, hn::Or(hn::ShiftRight<8>(hn::Add(words.a, half)), odd));
#endif
}

// Sums of the pairs of a vector of bytes.
template <class V8>
HWY_INLINE UnsignedWords<V8> PairSums(V8 v) {
#if HWY_ARCH_ARM
    return UnsignedWords<V8>(vpaddlq_u8(v.raw));
#else
    const auto words = SplitBytes(v);
    return hn::Add(words.a, words.b);
#endif
}
template <class V8>
HWY_INLINE UnsignedWords<V8> AddPairSums(UnsignedWords<V8> sums, V8 v) {
#if HWY_ARCH_ARM
    return UnsignedWords<V8>(vpadalq_u8(sums.raw, v.raw));
#else
    return hn::Add(sums, PairSums(v));
#endif
}

// Of two vectors of signed words their distances to two others, saturated to bytes.
template <class V>
HWY_INLINE auto PackDistances(V first, V fromFirst, V second, V fromSecond) {
#if HWY_ARCH_ARM
    // Modulo 65536, which unsigned lanes hold.
    const uint16x8_t a = vreinterpretq_u16_s16(vabdq_s16(first.raw, fromFirst.raw));
    const uint16x8_t b = vreinterpretq_u16_s16(vabdq_s16(second.raw, fromSecond.raw));
    return hn::Vec128<uint8_t>(vqmovn_high_u16(vqmovn_u16(a), b));
#else
    // Saturating at 16 bits is far beyond the 255 that a distance ends at.
    const auto distance = [](V a, V b) HWY_ATTR { return hn::Max(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a)); };
    return PackBytes(distance(first, fromFirst), distance(second, fromSecond));
#endif
}

// Bytes through a table of 256; `to` may be `from`.
HWY_INLINE void MapBytes(const uint8_t* table, const uint8_t* from, int count, uint8_t* to) {
    int x = 0;
#if HWY_ARCH_ARM
    // A look-up leaves a lane as it is where the index is beyond its quarter of the table.
    uint8x16x4_t quarters[4];
    for (int i = 0; i < 4; ++i) quarters[i] = vld1q_u8_x4(table + 64 * i);
    const uint8x16_t quarter = vdupq_n_u8(64);
    for (; x + 16 <= count; x += 16) {
        uint8x16_t index = vld1q_u8(from + x);
        uint8x16_t mapped = vqtbl4q_u8(quarters[0], index);
        for (int i = 1; i < 4; ++i) {
            index = vsubq_u8(index, quarter);
            mapped = vqtbx4q_u8(mapped, quarters[i], index);
        }
        vst1q_u8(to + x, mapped);
    }
#endif
    for (; x < count; ++x) to[x] = table[from[x]];
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
