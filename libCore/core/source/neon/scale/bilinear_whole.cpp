#include "libCore/core/source/neon/scale/bilinear_whole.h"

#include <algorithm>
#include <cstring>

#define HWY_TARGET_INCLUDE "libCore/core/source/neon/scale/bilinear_whole.cpp"
#include "libCore/core/source/frame/vector_unit.h"

#include "libCore/core/source/frame/vector_ops-inl.h"

EIS_BEFORE_TARGET();

using Words = HWY_CAPPED(uint16_t, 16);
using Bytes = hn::Repartition<uint8_t, Words>;
using WordsV = hn::Vec<Words>;
using BytesV = hn::Vec<Bytes>;
constexpr int kBytes = static_cast<int>(hn::MaxLanes(Bytes()));

// Samples of a strip, one row of which waits on the stack: rows are read and written one after the other, because
// hardware prefetching and write combining follow one stream far better than two that take turns. A strip is a whole
// row of all but the widest planes.
constexpr int kStrip = 8192;
constexpr int kAlignment = 64;

// Sums of the pairs of a row.
HWY_INLINE WordsV PairSums(const uint8_t* row) {
    const Words d;
    const auto pairs = hn::BitCast(d, hn::LoadU(Bytes(), row));
    return hn::Add(hn::And(pairs, hn::Set(d, 0xFF)), hn::ShiftRight<8>(pairs));
}

void SumPairs(const uint8_t* HWY_RESTRICT row, int count, uint16_t* HWY_RESTRICT sums) {
    const Words d;
    const int step = static_cast<int>(hn::Lanes(d));
    int x = 0;
    for (; x + step <= count; x += step) hn::StoreU(PairSums(row + 2 * x), d, sums + x);
    for (; x < count; ++x) sums[x] = static_cast<uint16_t>(row[2 * x] + row[2 * x + 1]);
}

// The means of two by two samples, truncated, from the sums of the upper pairs.
void HalfRow(const uint16_t* HWY_RESTRICT upperSums, const uint8_t* HWY_RESTRICT lower, int count,
             uint8_t* HWY_RESTRICT dst) {
    const Words d;
    const hn::Rebind<uint8_t, Words> dHalf;
    const int step = static_cast<int>(hn::Lanes(d));
    int x = 0;
    for (; x + step <= count; x += step) {
        const auto sum = hn::Add(hn::LoadU(d, upperSums + x), PairSums(lower + 2 * x));
        hn::StoreU(hn::DemoteTo(dHalf, hn::BitCast(hn::RebindToSigned<Words>(), hn::ShiftRight<2>(sum))), dHalf,
                   dst + x);
    }
    for (; x < count; ++x) dst[x] = static_cast<uint8_t>((upperSums[x] + lower[2 * x] + lower[2 * x + 1]) >> 2);
}

void ScaleHalf(const uint8_t* src, int64_t srcPitch, uint8_t* dst, int dstW, int dstH, int dstPitch) {
    uint16_t upperSums[kStrip];
    for (int y = 0; y < dstH; ++y) {
        const uint8_t* upper = src + 2 * int64_t{y} * srcPitch;
        uint8_t* row = dst + int64_t{y} * dstPitch;
        for (int x = 0; x < dstW; x += kStrip) {
            const int count = std::min(kStrip, dstW - x);
            SumPairs(upper + 2 * x, count, upperSums);
            HalfRow(upperSums, upper + srcPitch + 2 * x, count, row + x);
        }
    }
}

// Three times the first sample of each pair and the second one: a quarter of the way between them, times four.
HWY_INLINE WordsV Quarters(BytesV pairs) {
    const Words d;
#if HWY_ARCH_X86
    return PairwiseProducts(pairs, hn::BitCast(Bytes(), hn::Set(d, 0x0103)));
#else
    const WordsV words = hn::BitCast(d, pairs);
    const WordsV first = hn::And(words, hn::Set(d, 0xFF));
    return hn::Add(hn::Add(first, hn::ShiftRight<8>(words)), hn::Add(first, first));
#endif
}

// Pairs of a sample and its left neighbour, and of it and its right one; of the lower or the upper half of each block.
struct Neighbours {
    BytesV left[2];
    BytesV right[2];

    HWY_INLINE explicit Neighbours(const uint8_t* row) {
        const Bytes d;
        const BytesV samples = hn::LoadU(d, row);
        const BytesV before = hn::LoadU(d, row - 1);
        const BytesV behind = hn::LoadU(d, row + 1);
        left[0] = hn::InterleaveLower(d, samples, before);
        left[1] = hn::InterleaveUpper(d, samples, before);
        right[0] = hn::InterleaveLower(d, samples, behind);
        right[1] = hn::InterleaveUpper(d, samples, behind);
    }
};

// A quarter of the way from sums of `near` to those of `far`.
HWY_INLINE BytesV BetweenRows(const Neighbours& near, const Neighbours& far, int half) {
    const auto quarter = [](BytesV nearPairs, BytesV farPairs) HWY_ATTR {
        const WordsV sums = Quarters(nearPairs);
        return hn::ShiftRight<4>(hn::Add(hn::Add(sums, Quarters(farPairs)), hn::Add(sums, sums)));
    };
    const WordsV even = quarter(near.left[half], far.left[half]);
    const WordsV odd = quarter(near.right[half], far.right[half]);
    return hn::BitCast(Bytes(), hn::Or(even, hn::ShiftLeft<8>(odd)));
}

// The two rows between two source rows: columns 2x and 2x + 1 lie on either side of column x.
struct RowsBetween {
    const uint8_t* upper;
    const uint8_t* lower;
    uint8_t* nearUpper;
    uint8_t* nearLower;

    void column(int x, int left, int right) const {
        const auto between = [](int near, int nearNext, int far, int farNext) {
            return static_cast<uint8_t>((9 * near + 3 * (nearNext + far) + farNext) >> 4);
        };
        nearUpper[2 * x] = between(upper[x], upper[left], lower[x], lower[left]);
        nearUpper[2 * x + 1] = between(upper[x], upper[right], lower[x], lower[right]);
        nearLower[2 * x] = between(lower[x], lower[left], upper[x], upper[left]);
        nearLower[2 * x + 1] = between(lower[x], lower[right], upper[x], upper[right]);
    }

    HWY_INLINE void vector(int x) const {
        const Neighbours above(upper + x);
        const Neighbours below(lower + x);
        StoreInterleaved(BetweenRows(above, below, 0), BetweenRows(above, below, 1), nearUpper + 2 * x);
        StoreInterleaved(BetweenRows(below, above, 0), BetweenRows(below, above, 1), nearLower + 2 * x);
    }

    // Columns that have neighbours on both sides.
    void run(int count) const {
        if (count < kBytes) {
            for (int x = 0; x < count; ++x) column(x, x - 1, x + 1);
            return;
        }
        for (int x = 0; x + kBytes <= count; x += kBytes) vector(x);
        vector(count - kBytes);
    }
};

// The outermost columns are as their inner neighbours.
void DoubleRows(const uint8_t* upper, const uint8_t* lower, int width, uint8_t* nearUpper, uint8_t* nearLower) {
    // The lower row, at the alignment of its destination: copying between different ones takes far longer.
    alignas(kAlignment) uint8_t memory[2 * kStrip + kAlignment];
    for (int x = 1; x + 1 < width; x += kStrip) {
        const int count = std::min(kStrip, width - 1 - x);
        uint8_t* waiting = memory + reinterpret_cast<uintptr_t>(nearLower + 2 * x) % kAlignment;
        RowsBetween{upper + x, lower + x, nearUpper + 2 * x, waiting}.run(count);
        std::memcpy(nearLower + 2 * x, waiting, 2 * static_cast<size_t>(count));
    }
    const RowsBetween rows{upper, lower, nearUpper, nearLower};
    const int last = width - 1;
    rows.column(0, 1, 1);
    rows.column(last, last - 1, last - 1);
}

// So are the outermost rows.
void ScaleDouble(const uint8_t* src, int srcW, int srcH, int64_t srcPitch, uint8_t* dst, int dstPitch) {
    const int64_t pitch = dstPitch;
    for (int y = 0; y + 1 < srcH; ++y) {
        uint8_t* nearUpper = dst + (2 * y + 1) * pitch;
        DoubleRows(src + y * srcPitch, src + (y + 1) * srcPitch, srcW, nearUpper, nearUpper + pitch);
    }
    std::memcpy(dst, dst + pitch, 2 * static_cast<size_t>(srcW));
    std::memcpy(dst + (2 * srcH - 1) * pitch, dst + (2 * srcH - 2) * pitch, 2 * static_cast<size_t>(srcW));
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(ScaleHalf);
HWY_EXPORT(ScaleDouble);

bool ScaleWholeRatio(const uint8_t* src, int srcW, int srcH, int64_t srcPitch, uint8_t* dst, int dstW, int dstH,
                     int dstPitch) {
    // Positions of larger planes wrap.
    if (srcW < 1 || srcH < 1 || std::max(srcW, srcH) > 32767) return false;
    if (dstW == srcW && dstH == srcH) {
        for (int y = 0; y < dstH; ++y) std::memcpy(dst + int64_t{y} * dstPitch, src + y * srcPitch, dstW);
        return true;
    }
    if (int64_t{dstW} * 2 == srcW && int64_t{dstH} * 2 == srcH) {
        HWY_DYNAMIC_DISPATCH(ScaleHalf)(src, srcPitch, dst, dstW, dstH, dstPitch);
        return true;
    }
    if (dstW == int64_t{srcW} * 2 && dstH == int64_t{srcH} * 2 && srcW > 1 && srcH > 1) {
        HWY_DYNAMIC_DISPATCH(ScaleDouble)(src, srcW, srcH, srcPitch, dst, dstPitch);
        return true;
    }
    return false;
}

}  // namespace eis
#endif
