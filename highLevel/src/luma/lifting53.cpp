#include "highLevel/src/luma/lifting53.h"

#include <hwy/cache_control.h>

#define HWY_TARGET_INCLUDE "highLevel/src/luma/lifting53.cpp"
#include "libCore/core/source/frame/vector_unit.h"

#include "libCore/core/source/frame/vector_ops-inl.h"

EIS_BEFORE_TARGET();

using D16 = hn::CappedTag<int16_t, 32>;
using V16 = hn::Vec<D16>;
constexpr int kLanes = hn::MaxLanes(D16());

// Floors of a half and a quarter of the exact sum, within 16 bits. At a line's ends the neighbour that is missing is
// the other one again, whose half sum is itself: no case of its own.
HWY_INLINE int16_t HalfSum(int16_t a, int16_t b) {
    return static_cast<int16_t>((a & b) + ((a ^ b) >> 1));
}
HWY_INLINE int16_t QuarterSum(int16_t a, int16_t b) {
    return static_cast<int16_t>(HalfSum(a, b) >> 1);
}
HWY_INLINE V16 QuarterSum(V16 a, V16 b) {
    return hn::ShiftRight<1>(FloorHalf(a, b));
}

using DBytes = hn::Rebind<uint8_t, D16>;

HWY_INLINE V16 LoadBytes(const uint8_t* bytes) {
    return hn::PromoteTo(D16(), hn::LoadU(DBytes(), bytes));
}

// The vertical steps, a row at a time. An average of bytes takes one instruction, so that it comes before they widen.
void DetailRow(const uint8_t* HWY_RESTRICT x0, const uint8_t* HWY_RESTRICT x1, const uint8_t* HWY_RESTRICT x2,
               int count, int16_t* HWY_RESTRICT d) {
    const D16 tag;
    const hn::Repartition<uint8_t, D16> bytes;
    ForSteps<2 * kLanes>(
        count,
        [&](int x) HWY_ATTR {
            const auto half = FloorHalf(hn::LoadU(bytes, x0 + x), hn::LoadU(bytes, x2 + x));
            const auto details = OrderedDifferences(hn::LoadU(bytes, x1 + x), half);
            hn::StoreU(details.a, tag, d + x);
            hn::StoreU(details.b, tag, d + x + kLanes);
        },
        [&](int x) { d[x] = static_cast<int16_t>(x1[x] - HalfSum(x0[x], x2[x])); });
}

void FetchingDetailRow(const uint8_t* x0, const uint8_t* x1, const uint8_t* x2, int64_t ahead, int count, int16_t* d) {
    constexpr int kCacheLine = 64;
    int x = 0;
    for (; x + kCacheLine <= count; x += kCacheLine) {
        hwy::Prefetch(x1 + ahead + x);
        hwy::Prefetch(x2 + ahead + x);
        DetailRow(x0 + x, x1 + x, x2 + x, kCacheLine, d + x);
    }
    DetailRow(x0 + x, x1 + x, x2 + x, count - x, d + x);
}

void SmoothRow(const uint8_t* HWY_RESTRICT x0, const int16_t* HWY_RESTRICT d0, const int16_t* HWY_RESTRICT d1,
               int count, int16_t* HWY_RESTRICT s) {
    const D16 tag;
    FillRow(
        tag, count, s,
        [&](int x)
            HWY_ATTR { return hn::Add(LoadBytes(x0 + x), QuarterSum(hn::LoadU(tag, d0 + x), hn::LoadU(tag, d1 + x))); },
        [&](int x) { return static_cast<int16_t>(x0[x] + QuarterSum(d0[x], d1[x])); });
}

void UndoSmoothRow(const int16_t* HWY_RESTRICT s, const int16_t* HWY_RESTRICT d0, const int16_t* HWY_RESTRICT d1,
                   int count, int16_t* HWY_RESTRICT x0) {
    const D16 tag;
    FillRow(
        tag, count, x0,
        [&](int x) HWY_ATTR {
            return hn::Sub(hn::LoadU(tag, s + x), QuarterSum(hn::LoadU(tag, d0 + x), hn::LoadU(tag, d1 + x)));
        },
        [&](int x) { return static_cast<int16_t>(s[x] - QuarterSum(d0[x], d1[x])); });
}

void UndoDetailRow(const int16_t* HWY_RESTRICT d, const int16_t* HWY_RESTRICT x0, const int16_t* HWY_RESTRICT x2,
                   int count, uint8_t* HWY_RESTRICT x1) {
    const D16 tag;
    const DBytes bytes;
    FillRow(
        bytes, count, x1,
        [&](int x) HWY_ATTR {
            const V16 half = FloorHalf(hn::LoadU(tag, x0 + x), hn::LoadU(tag, x2 + x));
            return hn::DemoteTo(bytes, hn::Add(hn::LoadU(tag, d + x), half));
        },
        [&](int x) {
            const auto wrapped = static_cast<int16_t>(d[x] + HalfSum(x0[x], x2[x]));
            const auto positive = static_cast<int16_t>(wrapped > 0 ? wrapped : 0);
            return static_cast<uint8_t>(positive < 255 ? positive : 255);
        });
}

// The horizontal steps of a row of 2n samples, its pairs apart in two vectors. Neighbours are loaded once more rather
// than moved.
struct Pairs {
    V16 even;
    V16 odd;

    HWY_INLINE explicit Pairs(const int16_t* samples) { hn::LoadInterleaved2(D16(), samples, even, odd); }
};

HWY_INLINE V16 DetailsOf(const Pairs& pairs, V16 evenNext) {
    return hn::Sub(pairs.odd, FloorHalf(pairs.even, evenNext));
}

HWY_INLINE int16_t DetailAt(const int16_t* x, int n, int i) {
    return static_cast<int16_t>(x[2 * i + 1] - (i < n - 1 ? HalfSum(x[2 * i], x[2 * i + 2]) : x[2 * i]));
}

template <bool low, bool high>
HWY_INLINE void SplitPair(const int16_t* x, int n, int i, int16_t* s, int16_t* d) {
    const int16_t detail = DetailAt(x, n, i);
    if (high) d[i] = detail;
    if (low) s[i] = static_cast<int16_t>(x[2 * i] + QuarterSum(i > 0 ? DetailAt(x, n, i - 1) : detail, detail));
}

// Calls pair(i) for the first and the last pair and vector(i) for kLanes pairs from i on between them, the last of them
// again if need be. A short row has pairs alone.
template <class Pair, class Vector>
HWY_INLINE void ForPairs(int n, Pair pair, Vector vector) {
    const int last = n - 1 - kLanes;
    if (last < 1) {
        for (int i = 0; i < n; ++i) pair(i);
        return;
    }
    pair(0);
    int i = 1;
#if HWY_ARCH_ARM
    for (; i + kLanes < last; i += 2 * kLanes) {  // as in ForSteps
        vector(i);
        vector(i + kLanes);
    }
#endif
    for (; i < last; i += kLanes) vector(i);
    vector(last);
    pair(n - 1);
}

template <bool low, bool high>
HWY_INLINE void SplitSamples(const int16_t* HWY_RESTRICT x, int n, int16_t* HWY_RESTRICT s, int16_t* HWY_RESTRICT d) {
    const D16 tag;
    ForPairs(
        n, [&](int i) { SplitPair<low, high>(x, n, i, s, d); },
        [&](int i) {
            const Pairs pairs(x + 2 * i);
            const V16 details = DetailsOf(pairs, Pairs(x + 2 * i + 2).even);
            if (high) hn::StoreU(details, tag, d + i);
            if (low) {
                const V16 before = DetailsOf(Pairs(x + 2 * i - 2), pairs.even);
                hn::StoreU(hn::Add(pairs.even, QuarterSum(before, details)), tag, s + i);
            }
        });
}

void SplitBoth(const int16_t* x, int n, int16_t* s, int16_t* d) {
    SplitSamples<true, true>(x, n, s, d);
}
void SplitLow(const int16_t* x, int n, int16_t* s) {
    SplitSamples<true, false>(x, n, s, nullptr);
}
void SplitHigh(const int16_t* x, int n, int16_t* d) {
    SplitSamples<false, true>(x, n, nullptr, d);
}

HWY_INLINE int16_t EvenAt(const int16_t* s, const int16_t* d, int i) {
    return static_cast<int16_t>(s[i] - QuarterSum(d[i > 0 ? i - 1 : 0], d[i]));
}
HWY_INLINE V16 EvensAt(const int16_t* s, const int16_t* d, int i) {
    const D16 tag;
    return hn::Sub(hn::LoadU(tag, s + i), QuarterSum(hn::LoadU(tag, d + i - 1), hn::LoadU(tag, d + i)));
}

void Join(const int16_t* HWY_RESTRICT s, const int16_t* HWY_RESTRICT d, int n, int16_t* HWY_RESTRICT x) {
    const D16 tag;
    ForPairs(
        n,
        [&](int i) {
            x[2 * i] = EvenAt(s, d, i);
            x[2 * i + 1] = static_cast<int16_t>(d[i] + HalfSum(x[2 * i], EvenAt(s, d, i < n - 1 ? i + 1 : i)));
        },
        [&](int i) {
            const V16 even = EvensAt(s, d, i);
            const V16 odd = hn::Add(hn::LoadU(tag, d + i), FloorHalf(even, EvensAt(s, d, i + 1)));
            hn::StoreInterleaved2(even, odd, tag, x + 2 * i);
        });
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(FetchingDetailRow);
HWY_EXPORT(SmoothRow);
HWY_EXPORT(UndoSmoothRow);
HWY_EXPORT(UndoDetailRow);
HWY_EXPORT(SplitBoth);
HWY_EXPORT(SplitLow);
HWY_EXPORT(SplitHigh);
HWY_EXPORT(Join);

void LiftDetailRow(const uint8_t* x0, const uint8_t* x1, const uint8_t* x2, int64_t ahead, int count, int16_t* d) {
    HWY_DYNAMIC_DISPATCH(FetchingDetailRow)(x0, x1, x2, ahead, count, d);
}

void LiftSmoothRow(const uint8_t* x0, const int16_t* dBefore, const int16_t* d, int count, int16_t* s) {
    HWY_DYNAMIC_DISPATCH(SmoothRow)(x0, dBefore, d, count, s);
}

void UnliftSmoothRow(const int16_t* s, const int16_t* dBefore, const int16_t* d, int count, int16_t* x0) {
    HWY_DYNAMIC_DISPATCH(UndoSmoothRow)(s, dBefore, d, count, x0);
}

void UnliftDetailRow(const int16_t* d, const int16_t* x0, const int16_t* x2, int count, uint8_t* x1) {
    HWY_DYNAMIC_DISPATCH(UndoDetailRow)(d, x0, x2, count, x1);
}

void SplitRow(const int16_t* x, int n, int16_t* s, int16_t* d) {
    HWY_DYNAMIC_DISPATCH(SplitBoth)(x, n, s, d);
}

void SplitRowLow(const int16_t* x, int n, int16_t* s) {
    HWY_DYNAMIC_DISPATCH(SplitLow)(x, n, s);
}

void SplitRowHigh(const int16_t* x, int n, int16_t* d) {
    HWY_DYNAMIC_DISPATCH(SplitHigh)(x, n, d);
}

void JoinRow(const int16_t* s, const int16_t* d, int n, int16_t* x) {
    HWY_DYNAMIC_DISPATCH(Join)(s, d, n, x);
}

}  // namespace eis
#endif
