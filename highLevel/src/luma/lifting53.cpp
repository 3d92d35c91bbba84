#include "highLevel/src/luma/lifting53.h"

#include <hwy/cache_control.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "highLevel/src/luma/lifting53.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using D16 = hn::CappedTag<int16_t, 32>;
using V16 = hn::Vec<D16>;
constexpr int kLanes = hn::MaxLanes(D16());

// Floors of a half and a quarter of the exact sum, within 16 bits. Halves of twice the same are what the first and the
// last pair of a line want, so they are no case of their own.
HWY_INLINE int16_t HalfSum(int16_t a, int16_t b) {
    return static_cast<int16_t>((a & b) + ((a ^ b) >> 1));
}
HWY_INLINE int16_t QuarterSum(int16_t a, int16_t b) {
    return static_cast<int16_t>(HalfSum(a, b) >> 1);
}
HWY_INLINE V16 HalfSum(V16 a, V16 b) {
    return hn::Add(hn::And(a, b), hn::ShiftRight<1>(hn::Xor(a, b)));
}
HWY_INLINE V16 QuarterSum(V16 a, V16 b) {
    return hn::ShiftRight<1>(HalfSum(a, b));
}

// A result as a sample of the plane: wrapped, or cut to a byte.
HWY_INLINE void SetSample(int value, int16_t& sample) {
    sample = static_cast<int16_t>(value);
}
HWY_INLINE void SetSample(int value, uint8_t& sample) {
    const auto wrapped = static_cast<int16_t>(value);
    const auto positive = static_cast<int16_t>(wrapped > 0 ? wrapped : 0);
    sample = static_cast<uint8_t>(positive < 255 ? positive : 255);
}

// The vertical steps, a row at a time: x0, x1, x2 are three rows in a line, d0 and d1 the details of the pair before
// and of this one.
template <class T>
HWY_INLINE void DetailRow(const T* HWY_RESTRICT x0, const T* HWY_RESTRICT x1, const T* HWY_RESTRICT x2, int count,
                          int16_t* HWY_RESTRICT d) {
    for (int x = 0; x < count; ++x) d[x] = static_cast<int16_t>(x1[x] - HalfSum(x0[x], x2[x]));
}

template <class T>
HWY_INLINE void SmoothRow(const T* HWY_RESTRICT x0, const int16_t* HWY_RESTRICT d0, const int16_t* HWY_RESTRICT d1,
                          int count, int16_t* HWY_RESTRICT s) {
    for (int x = 0; x < count; ++x) s[x] = static_cast<int16_t>(x0[x] + QuarterSum(d0[x], d1[x]));
}

void UndoSmoothRow(const int16_t* HWY_RESTRICT s, const int16_t* HWY_RESTRICT d0, const int16_t* HWY_RESTRICT d1,
                   int count, int16_t* HWY_RESTRICT x0) {
    for (int x = 0; x < count; ++x) x0[x] = static_cast<int16_t>(s[x] - QuarterSum(d0[x], d1[x]));
}

template <class T>
HWY_INLINE void UndoDetailRow(const int16_t* HWY_RESTRICT d, const int16_t* HWY_RESTRICT x0,
                              const int16_t* HWY_RESTRICT x2, int count, T* HWY_RESTRICT x1) {
    for (int x = 0; x < count; ++x) SetSample(d[x] + HalfSum(x0[x], x2[x]), x1[x]);
}

void DetailRowOfBytes(const uint8_t* x0, const uint8_t* x1, const uint8_t* x2, int64_t ahead, int count, int16_t* d) {
    constexpr int kCacheLine = 64;
    int x = 0;
    for (; x + kCacheLine <= count; x += kCacheLine) {
        hwy::Prefetch(x1 + ahead + x);
        hwy::Prefetch(x2 + ahead + x);
        DetailRow(x0 + x, x1 + x, x2 + x, kCacheLine, d + x);
    }
    DetailRow(x0 + x, x1 + x, x2 + x, count - x, d + x);
}
void SmoothRowOfBytes(const uint8_t* x0, const int16_t* d0, const int16_t* d1, int count, int16_t* s) {
    SmoothRow(x0, d0, d1, count, s);
}
void UndoDetailRowToBytes(const int16_t* d, const int16_t* x0, const int16_t* x2, int count, uint8_t* x1) {
    UndoDetailRow(d, x0, x2, count, x1);
}

// The horizontal steps of a row of 2n samples, its pairs apart in two vectors. Neighbours are loaded once more rather
// than moved.
struct Pairs {
    V16 even;
    V16 odd;

    HWY_INLINE explicit Pairs(const int16_t* samples) { hn::LoadInterleaved2(D16(), samples, even, odd); }
};

HWY_INLINE V16 DetailsOf(const Pairs& pairs, V16 evenNext) {
    return hn::Sub(pairs.odd, HalfSum(pairs.even, evenNext));
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
    for (int i = 1; i < last; i += kLanes) vector(i);
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
            const V16 odd = hn::Add(hn::LoadU(tag, d + i), HalfSum(even, EvensAt(s, d, i + 1)));
            hn::StoreInterleaved2(even, odd, tag, x + 2 * i);
        });
}

void LiftForward(int16_t* plane, int width, int height, int64_t stride, int16_t* tmp) {
    const int columns = width / 2;
    const int rows = height / 2;
    if (columns < 2 || rows < 2) return;
    for (int i = 0; i < rows; ++i) {
        const int16_t* even = plane + 2 * i * stride;
        int16_t* s = tmp + int64_t{i} * width;
        int16_t* d = s + int64_t{rows} * width;
        DetailRow(even, even + stride, i < rows - 1 ? even + 2 * stride : even, 2 * columns, d);
        SmoothRow(even, i > 0 ? d - width : d, d, 2 * columns, s);
    }
    for (int y = 0; y < 2 * rows; ++y) {
        SplitBoth(tmp + int64_t{y} * width, columns, plane + y * stride, plane + y * stride + columns);
    }
}

void LiftInverse(int16_t* plane, int width, int height, int64_t stride, int16_t* tmp) {
    const int columns = width / 2;
    const int rows = height / 2;
    if (columns < 2 || rows < 2) return;
    for (int y = 0; y < 2 * rows; ++y) {
        Join(plane + y * stride, plane + y * stride + columns, columns, tmp + int64_t{y} * width);
    }
    const int16_t* low = tmp;
    const int16_t* high = tmp + int64_t{rows} * width;
    int16_t* even = plane;
    for (int i = 0; i < rows; ++i) {
        UndoSmoothRow(low, i > 0 ? high - width : high, high, 2 * columns, even);
        if (i > 0) UndoDetailRow(high - width, even - 2 * stride, even, 2 * columns, even - stride);
        if (i == rows - 1) break;
        low += width;
        high += width;
        even += 2 * stride;
    }
    UndoDetailRow(high, even, even, 2 * columns, even + stride);
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(LiftForward);
HWY_EXPORT(LiftInverse);
HWY_EXPORT(DetailRowOfBytes);
HWY_EXPORT(SmoothRowOfBytes);
HWY_EXPORT(UndoSmoothRow);
HWY_EXPORT(UndoDetailRowToBytes);
HWY_EXPORT(SplitBoth);
HWY_EXPORT(SplitLow);
HWY_EXPORT(SplitHigh);
HWY_EXPORT(Join);

void Lifting53Forward(int16_t* pPlane, int width, int height, int stride, int16_t* pTmp) {
    HWY_DYNAMIC_DISPATCH(LiftForward)(pPlane, width, height, stride, pTmp);
}

void Lifting53Inverse(int16_t* pPlane, int width, int height, int stride, int16_t* pTmp) {
    HWY_DYNAMIC_DISPATCH(LiftInverse)(pPlane, width, height, stride, pTmp);
}

void LiftDetailRow(const uint8_t* x0, const uint8_t* x1, const uint8_t* x2, int64_t ahead, int count, int16_t* d) {
    HWY_DYNAMIC_DISPATCH(DetailRowOfBytes)(x0, x1, x2, ahead, count, d);
}

void LiftSmoothRow(const uint8_t* x0, const int16_t* dBefore, const int16_t* d, int count, int16_t* s) {
    HWY_DYNAMIC_DISPATCH(SmoothRowOfBytes)(x0, dBefore, d, count, s);
}

void UnliftSmoothRow(const int16_t* s, const int16_t* dBefore, const int16_t* d, int count, int16_t* x0) {
    HWY_DYNAMIC_DISPATCH(UndoSmoothRow)(s, dBefore, d, count, x0);
}

void UnliftDetailRow(const int16_t* d, const int16_t* x0, const int16_t* x2, int count, uint8_t* x1) {
    HWY_DYNAMIC_DISPATCH(UndoDetailRowToBytes)(d, x0, x2, count, x1);
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
