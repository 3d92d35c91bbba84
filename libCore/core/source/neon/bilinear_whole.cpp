#include "libCore/core/source/neon/bilinear_whole.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "libCore/core/source/neon/bilinear_whole.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Words = HWY_CAPPED(uint16_t, 16);
using Bytes = hn::Repartition<uint8_t, Words>;
using WordsV = hn::Vec<Words>;
using BytesV = hn::Vec<Bytes>;
constexpr int kBytes = static_cast<int>(hn::MaxLanes(Bytes()));

// Outputs of a strip of the halved or columns of the doubled plane, whose row waits on the stack. Rows are read and
// written one after the other, for the processor fetches far better along one row than along two that take turns, and
// so it is with stores: such strips hold a whole row of all but the widest planes.
constexpr int kStrip = 8192;

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

// Between two samples or sums, at a quarter of the way and at three: four times their value.
struct Quarters {
    WordsV near;
    WordsV far;
};
HWY_INLINE Quarters QuartersOf(WordsV a, WordsV b) {
    const WordsV sum = hn::Add(a, b);
    return {hn::Add(sum, hn::Add(a, a)), hn::Add(sum, hn::Add(b, b))};
}

// Of samples side by side.
HWY_INLINE Quarters QuartersOfPairs(BytesV pairs) {
    const Words d;
#if HWY_ARCH_X86
    const auto near = hn::Set(d, 0x0103);
    const auto far = hn::Set(d, 0x0301);
#if HWY_CAP_GE256
    return {WordsV{_mm256_maddubs_epi16(pairs.raw, near.raw)}, WordsV{_mm256_maddubs_epi16(pairs.raw, far.raw)}};
#else
    return {WordsV{_mm_maddubs_epi16(pairs.raw, near.raw)}, WordsV{_mm_maddubs_epi16(pairs.raw, far.raw)}};
#endif
#else
    const WordsV words = hn::BitCast(d, pairs);
    return QuartersOf(hn::And(words, hn::Set(d, 0xFF)), hn::ShiftRight<8>(words));
#endif
}

// Samples of two rows between two rows of pairs.
struct RowPair {
    BytesV nearUpper;
    BytesV nearLower;
};
HWY_INLINE RowPair BetweenRows(BytesV upperPairs, BytesV lowerPairs) {
    const Quarters upper = QuartersOfPairs(upperPairs);
    const Quarters lower = QuartersOfPairs(lowerPairs);
    const Quarters left = QuartersOf(upper.near, lower.near);
    const Quarters right = QuartersOf(upper.far, lower.far);
    const auto samples = [](WordsV even, WordsV odd) HWY_ATTR {
        return hn::BitCast(Bytes(), hn::Or(hn::ShiftRight<4>(even), hn::ShiftLeft<8>(hn::ShiftRight<4>(odd))));
    };
    return {samples(left.near, right.near), samples(left.far, right.far)};
}

// What is made of the lower and of the upper halves of a vector's blocks, in order.
HWY_INLINE void StoreInterleaved(BytesV low, BytesV high, uint8_t* to) {
    const Bytes d;
#if HWY_CAP_GE256
    hn::StoreU(hn::ConcatLowerLower(d, high, low), d, to);
    hn::StoreU(hn::ConcatUpperUpper(d, high, low), d, to + kBytes);
#else
    hn::StoreU(low, d, to);
    hn::StoreU(high, d, to + kBytes);
#endif
}

// What lies between `count` columns and their right neighbours.
void DoubleRun(const uint8_t* upper, const uint8_t* lower, int count, uint8_t* nearUpper, uint8_t* nearLower) {
    const Bytes d;
    int x = 0;
    for (; x + kBytes <= count; x += kBytes) {
        const BytesV a = hn::LoadU(d, upper + x);
        const BytesV aNext = hn::LoadU(d, upper + x + 1);
        const BytesV b = hn::LoadU(d, lower + x);
        const BytesV bNext = hn::LoadU(d, lower + x + 1);
        const RowPair low = BetweenRows(hn::InterleaveLower(d, a, aNext), hn::InterleaveLower(d, b, bNext));
        const RowPair high = BetweenRows(hn::InterleaveUpper(d, a, aNext), hn::InterleaveUpper(d, b, bNext));
        StoreInterleaved(low.nearUpper, high.nearUpper, nearUpper + 2 * x);
        StoreInterleaved(low.nearLower, high.nearLower, nearLower + 2 * x);
    }
    const auto blend = [](int a, int aNext, int b, int bNext) {
        return static_cast<uint8_t>((9 * a + 3 * (aNext + b) + bNext) >> 4);
    };
    for (; x < count; ++x) {
        nearUpper[2 * x] = blend(upper[x], upper[x + 1], lower[x], lower[x + 1]);
        nearUpper[2 * x + 1] = blend(upper[x + 1], upper[x], lower[x + 1], lower[x]);
        nearLower[2 * x] = blend(lower[x], lower[x + 1], upper[x], upper[x + 1]);
        nearLower[2 * x + 1] = blend(lower[x + 1], lower[x], upper[x + 1], upper[x]);
    }
}

// The outermost columns are as their inner neighbours.
void DoubleRows(const uint8_t* upper, const uint8_t* lower, int width, uint8_t* nearUpper, uint8_t* nearLower) {
    // The lower row from column 2x on, to be copied to where that column is: copies to odd addresses are slow. A
    // strip's first byte is the last one of the strip before, its last one that of the next; in a row's ends the
    // outermost column.
    alignas(64) uint8_t waiting[2 * kStrip + 2];
    for (int x = 0; x + 1 < width; x += kStrip) {
        const int count = std::min(kStrip, width - 1 - x);
        DoubleRun(upper + x, lower + x, count, nearUpper + 1 + 2 * x, waiting + 1);
        if (x == 0) waiting[0] = waiting[1];
        waiting[2 * count + 1] = waiting[2 * count];
        std::memcpy(nearLower + 2 * x, waiting, 2 * static_cast<size_t>(count) + 2);
        waiting[0] = waiting[2 * count];
    }
    nearUpper[0] = nearUpper[1];
    nearUpper[2 * width - 1] = nearUpper[2 * width - 2];
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

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

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
