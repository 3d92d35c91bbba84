#include "libCore/core/source/neon/scale/bilinear_whole.h"

#include <algorithm>
#include <cstring>

#define HWY_TARGET_INCLUDE "libCore/core/source/neon/scale/bilinear_whole.cpp"
#include "libCore/core/source/frame/vector_unit.h"

#include "libCore/core/source/frame/vector_doubling-inl.h"

EIS_BEFORE_TARGET();

using Bytes = HWY_CAPPED(uint8_t, 32);
using Words = hn::Repartition<uint16_t, Bytes>;
constexpr int kBytes = static_cast<int>(hn::MaxLanes(Bytes()));

// Samples of a strip, one row of which waits on the stack: rows are read and written one after the other, because
// hardware prefetching and write combining follow one stream far better than two that take turns. A strip is a whole
// row of all but the widest planes.
constexpr int kStrip = 8192;
constexpr int kAlignment = 64;

#if HWY_ARCH_ARM
// The means of two by two samples, truncated. Processors of phones follow many streams: both rows at once.
void HalfRow(const uint8_t* HWY_RESTRICT upper, const uint8_t* HWY_RESTRICT lower, int count,
             uint8_t* HWY_RESTRICT dst) {
    const auto sums = [](const uint8_t* above, const uint8_t* below) {
        return AddPairSums(PairSums(hn::LoadU(Bytes(), above)), hn::LoadU(Bytes(), below)).raw;
    };
    FillRow(
        Bytes(), count, dst,
        [&](int x) {
            const uint8_t* above = upper + 2 * int64_t{x};
            const uint8_t* below = lower + 2 * int64_t{x};
            const uint8x8_t first = vshrn_n_u16(sums(above, below), 2);
            return hn::Vec<Bytes>(vshrn_high_n_u16(first, sums(above + kBytes, below + kBytes), 2));
        },
        [&](int x) {
            return static_cast<uint8_t>((upper[2 * x] + upper[2 * x + 1] + lower[2 * x] + lower[2 * x + 1]) >> 2);
        });
}

void ScaleHalf(const uint8_t* src, int64_t srcPitch, uint8_t* dst, int dstW, int dstH, int dstPitch) {
    for (int y = 0; y < dstH; ++y) {
        const uint8_t* upper = src + 2 * int64_t{y} * srcPitch;
        HalfRow(upper, upper + srcPitch, dstW, dst + int64_t{y} * dstPitch);
    }
}
#else
void SumPairs(const uint8_t* HWY_RESTRICT row, int count, uint16_t* HWY_RESTRICT sums) {
    FillRow(
        Words(), count, sums, [&](int x) HWY_ATTR { return PairSums(hn::LoadU(Bytes(), row + 2 * x)); },
        [&](int x) { return static_cast<uint16_t>(row[2 * x] + row[2 * x + 1]); });
}

// The means of two by two samples, truncated, from the sums of the upper pairs.
void HalfRow(const uint16_t* HWY_RESTRICT upperSums, const uint8_t* HWY_RESTRICT lower, int count,
             uint8_t* HWY_RESTRICT dst) {
    const auto quarters = [&](int x) HWY_ATTR {
        return hn::ShiftRight<2>(AddPairSums(hn::LoadU(Words(), upperSums + x), hn::LoadU(Bytes(), lower + 2 * x)));
    };
    const auto sample = [&](int x) {
        return static_cast<uint8_t>((upperSums[x] + lower[2 * x] + lower[2 * x + 1]) >> 2);
    };
    const hn::RebindToSigned<Words> d;
    const hn::Rebind<uint8_t, Words> half;
    FillRow(
        half, count, dst, [&](int x) HWY_ATTR { return hn::DemoteTo(half, hn::BitCast(d, quarters(x))); }, sample);
}

void ScaleHalf(const uint8_t* src, int64_t srcPitch, uint8_t* dst, int dstW, int dstH, int dstPitch) {
    alignas(kAlignment) uint16_t upperSums[kStrip];
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
#endif

// The two rows between two source rows: columns 2x + 1 and 2x + 2 lie between columns x and x + 1.
struct RowsBetween {
    const uint8_t* upper;
    const uint8_t* lower;
    uint8_t* nearUpper;
    uint8_t* nearLower;

    void column(int x) const {
        const auto between = [](int near, int nearNext, int far, int farNext) {
            return static_cast<uint8_t>((9 * near + 3 * (nearNext + far) + farNext) >> 4);
        };
        nearUpper[2 * x + 1] = between(upper[x], upper[x + 1], lower[x], lower[x + 1]);
        nearUpper[2 * x + 2] = between(upper[x + 1], upper[x], lower[x + 1], lower[x]);
        nearLower[2 * x + 1] = between(lower[x], lower[x + 1], upper[x], upper[x + 1]);
        nearLower[2 * x + 2] = between(lower[x + 1], lower[x], upper[x + 1], upper[x]);
    }

    HWY_INLINE void vector(int x) const {
        const RowPairs above(upper + x);
        const RowPairs below(lower + x);
        StoreBetween<0>(above, below, nearUpper + 2 * x + 1);
        StoreBetween<0>(below, above, nearLower + 2 * x + 1);
    }

    // Columns that have a right neighbour.
    void run(int count) const {
        ForSteps<kBytes>(
            count, [&](int x) HWY_ATTR { vector(x); }, [&](int x) { column(x); });
    }
};

// The outermost columns are as their inner neighbours.
void DoubleRows(const uint8_t* upper, const uint8_t* lower, int width, uint8_t* nearUpper, uint8_t* nearLower) {
    // The lower row, at the alignment of its destination: copying between different ones takes far longer.
    alignas(kAlignment) uint8_t memory[2 * kStrip + 2 * kAlignment];
    const int inner = width - 1;
    for (int x = 0; x < inner; x += kStrip) {
        const int count = std::min(kStrip, inner - x);
        uint8_t* to = nearLower + 2 * x + 1;
        uint8_t* waiting = memory + kAlignment + reinterpret_cast<uintptr_t>(to) % kAlignment;
        RowsBetween{upper + x, lower + x, nearUpper + 2 * x, waiting - 1}.run(count);
        std::memcpy(to, waiting, 2 * static_cast<size_t>(count));
    }
    for (uint8_t* row : {nearUpper, nearLower}) {
        row[0] = row[1];
        row[2 * width - 1] = row[2 * width - 2];
    }
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

bool ScaleWholeRatio(const PlaneView& from, const PlaneView& to) {
    const int srcW = from.width;
    const int srcH = from.height;
    const int dstW = to.width;
    const int dstH = to.height;
    // Positions of larger planes wrap.
    if (srcW < 1 || srcH < 1 || std::max(srcW, srcH) > 32767) return false;
    if (dstW == srcW && dstH == srcH) {
        for (int64_t y = 0; y < dstH; ++y) std::memcpy(to.data + y * to.pitch, from.data + y * from.pitch, dstW);
        return true;
    }
    if (int64_t{dstW} * 2 == srcW && int64_t{dstH} * 2 == srcH) {
        HWY_DYNAMIC_DISPATCH(ScaleHalf)(from.data, from.pitch, to.data, dstW, dstH, to.pitch);
        return true;
    }
    if (dstW == int64_t{srcW} * 2 && dstH == int64_t{srcH} * 2 && srcW > 1 && srcH > 1) {
        HWY_DYNAMIC_DISPATCH(ScaleDouble)(from.data, srcW, srcH, from.pitch, to.data, to.pitch);
        return true;
    }
    return false;
}

}  // namespace eis
#endif
