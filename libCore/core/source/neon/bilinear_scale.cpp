#include "libCore/core/source/neon/bilinear_scale.h"

#include <algorithm>
#include <cstring>

#include <hwy/cache_control.h>

#include "libCore/core/source/neon/bilinear_position.h"
#include "libCore/core/source/neon/bilinear_whole.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "libCore/core/source/neon/bilinear_scale.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// Columns handled in one go, so that a strip's tables and row sums stay on the stack and near.
constexpr int kStrip = 2048;
// Columns whose neighbours come from one load of 16 bytes.
constexpr int kBlock = 4;
constexpr int kLoad = 16;

using Sums = HWY_CAPPED(int32_t, 8);
using SumsV = hn::Vec<Sums>;
constexpr int kSumLanes = static_cast<int>(hn::MaxLanes(Sums()));
constexpr int kBytes = 4 * kSumLanes;  // output samples of one step

int WholeSteps(int count) {
    return (count + kBytes - 1) / kBytes * kBytes;
}

// Where the left (0) or right (1) neighbour of a block's k-th column goes among the block's eight 16-bit lanes: pairs
// are added by the multiplication on x86, halves by its second step on NEON.
constexpr int LaneOf(int k, int side) {
    return HWY_ARCH_ARM ? kBlock * side + k : 2 * k + side;
}

// A plane without its border: `border` samples around it can be read, and without one what lies behind its last row and
// column is its mirror about the edge.
struct SourcePlane {
    const uint8_t* samples;
    int64_t pitch;
    int32_t width;
    int32_t height;
    int32_t border;

    int32_t column(int64_t index) const { return inside(index, width); }
    const uint8_t* row(int64_t index) const { return samples + inside(index, height) * pitch; }

  private:
    int32_t inside(int64_t index, int32_t size) const {
        return border == 0 && index >= size ? std::max(size - 2, 0) : static_cast<int32_t>(index);
    }
};

// Column tables of a strip, filled up to whole steps.
struct Columns {
    int32_t left[kStrip];
    int32_t right[kStrip];
    // Of each block: its load's first column, the bytes of the load that go to its lanes, the weights of the lanes.
    int32_t base[kStrip / kBlock];
    alignas(32) uint8_t lanes[kStrip / kBlock][kLoad];
    alignas(32) int16_t weights[kStrip / kBlock][2 * kBlock];
    bool compact;  // whether each block's neighbours lie in one load inside the row
};

// A source row interpolated at the strip's columns: 20 bits, 4096 times the sample value.
struct RowSums {
    int64_t row = -1;  // which source row it holds
    alignas(32) int32_t values[kStrip];
};

void FillColumns(const SourcePlane& source, int32_t stepX, const void* colTable, int entries, int first, int count,
                 Columns& columns) {
    const int32_t end = source.width + source.border;
    columns.compact = end + source.border >= kLoad;
    for (int b = 0; b * kBlock < WholeSteps(count); ++b) {
        int32_t low = INT32_MAX;
        int32_t high = INT32_MIN;
        for (int k = 0; k < kBlock; ++k) {
            const int x = b * kBlock + k;
            const ScalePosition position =
                scalePosition(stepX, scaleColumn(colTable, entries, first + std::min(x, count - 1)));
            columns.left[x] = source.column(position.index);
            columns.right[x] = source.column(int64_t{position.index} + 1);
            columns.weights[b][LaneOf(k, 0)] = static_cast<int16_t>(4096 - position.fraction);
            columns.weights[b][LaneOf(k, 1)] = static_cast<int16_t>(position.fraction);
            low = std::min({low, columns.left[x], columns.right[x]});
            high = std::max({high, columns.left[x], columns.right[x]});
        }
        const int32_t base = std::min(low, end - kLoad);
        columns.base[b] = base;
        columns.compact = columns.compact && high - base < kLoad;
        if (!columns.compact) continue;
        std::memset(columns.lanes[b], 0x80, kLoad);  // which gives a zero byte
        for (int k = 0; k < kBlock; ++k) {
            const int x = b * kBlock + k;
            columns.lanes[b][2 * LaneOf(k, 0)] = static_cast<uint8_t>(columns.left[x] - base);
            columns.lanes[b][2 * LaneOf(k, 1)] = static_cast<uint8_t>(columns.right[x] - base);
        }
    }
}

// The loads of as many blocks as a vector of sums takes.
HWY_INLINE hn::Vec<hn::Repartition<uint8_t, Sums>> LoadBlocks(const uint8_t* HWY_RESTRICT row,
                                                              const int32_t* HWY_RESTRICT base) {
    const hn::Repartition<uint8_t, Sums> d8;
#if HWY_CAP_GE256
    const hn::CappedTag<uint8_t, kLoad> dLoad;
    return hn::Combine(d8, hn::LoadU(dLoad, row + base[1]), hn::LoadU(dLoad, row + base[0]));
#else
    return hn::LoadU(d8, row + base[0]);
#endif
}

// The same columns `ahead` bytes below are fetched: few processors do it across the end of a page, where most rows end.
void CompactSums(const uint8_t* HWY_RESTRICT row, int64_t ahead, const Columns& columns, int count,
                 int32_t* HWY_RESTRICT sums) {
    const Sums d;
    const hn::Repartition<uint8_t, Sums> d8;
    const hn::Repartition<int16_t, Sums> d16;
    for (int x = 0; x < count; x += kSumLanes) {
        const int b = x / kBlock;
        hwy::Prefetch(row + ahead + columns.base[b]);
        const auto samples = hn::TableLookupBytesOr0(LoadBlocks(row, columns.base + b), hn::Load(d8, columns.lanes[b]));
        SumsV second = hn::Zero(d);
        const SumsV first = hn::ReorderWidenMulAccumulate(d, hn::BitCast(d16, samples),
                                                          hn::Load(d16, columns.weights[b]), hn::Zero(d), second);
        hn::Store(hn::Add(first, second), d, sums + x);
    }
}

// Wherever the neighbours lie.
void ScatteredSums(const uint8_t* HWY_RESTRICT row, int64_t /*ahead*/, const Columns& columns, int count,
                   int32_t* HWY_RESTRICT sums) {
    for (int x = 0; x < count; ++x) {
        const int16_t* weights = columns.weights[x / kBlock];
        sums[x] = row[columns.left[x]] * weights[LaneOf(x % kBlock, 0)] +
                  row[columns.right[x]] * weights[LaneOf(x % kBlock, 1)];
    }
}

// Sums of four vectors, 0 to 255 each, as bytes in order.
HWY_INLINE hn::Vec<hn::Repartition<uint8_t, Sums>> PackSums(SumsV a, SumsV b, SumsV c, SumsV d) {
    const hn::Repartition<int16_t, Sums> d16;
    const auto ab = hn::ReorderDemote2To(d16, a, b);
    const auto cd = hn::ReorderDemote2To(d16, c, d);
#if HWY_ARCH_ARM
    return hn::Combine(hn::Repartition<uint8_t, Sums>(), hn::DemoteTo(hn::CappedTag<uint8_t, 8>(), cd),
                       hn::DemoteTo(hn::CappedTag<uint8_t, 8>(), ab));
#elif !HWY_CAP_GE256
    return hn::Vec<hn::Repartition<uint8_t, Sums>>{_mm_packus_epi16(ab.raw, cd.raw)};
#else
    // Both packings work in halves of a vector.
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    return hn::Vec<hn::Repartition<uint8_t, Sums>>{
        _mm256_permutevar8x32_epi32(_mm256_packus_epi16(ab.raw, cd.raw), order)};
#endif
}

// Wrapping: the sum of both terms is at most 255 << 24 unsigned, however far below zero the second one is.
void VerticalBlend(const int32_t* HWY_RESTRICT upper, const int32_t* HWY_RESTRICT lower, uint32_t fraction, int count,
                   uint8_t* HWY_RESTRICT dst) {
    const Sums d;
    const hn::RebindToUnsigned<Sums> dU;
    const hn::Repartition<uint8_t, Sums> d8;
    const SumsV fy = hn::Set(d, static_cast<int32_t>(fraction));
    const auto blend = [&](int x) HWY_ATTR {
        const SumsV u = hn::Load(d, upper + x);
        const SumsV sum = hn::Add(hn::ShiftLeft<12>(u), hn::Mul(hn::Sub(hn::Load(d, lower + x), u), fy));
        return hn::BitCast(d, hn::ShiftRight<24>(hn::BitCast(dU, sum)));
    };
    for (int x = 0; x < count; x += kBytes) {
        const auto bytes = PackSums(blend(x), blend(x + kSumLanes), blend(x + 2 * kSumLanes), blend(x + 3 * kSumLanes));
        if (x + kBytes <= count) {
            hn::StoreU(bytes, d8, dst + x);
        } else {
            alignas(32) uint8_t last[kBytes];
            hn::Store(bytes, d8, last);
            std::memcpy(dst + x, last, count - x);
        }
    }
}

// One strip of one plane. Sums of source rows are kept while destination rows go on using them.
void ScaleStrip(const SourcePlane& source, const Columns& columns, int count, int32_t stepY, uint8_t* dst, int dstPitch,
                int rowFirst, int rowEnd) {
    const auto horizontalSums = columns.compact ? CompactSums : ScatteredSums;
    RowSums sums[2];
    for (int y = rowFirst; y < rowEnd; ++y) {
        const ScalePosition position = scalePosition(stepY, y);
        const int32_t* use[2];
        for (int i = 0; i < 2; ++i) {
            const int64_t row = int64_t{position.index} + i;
            RowSums& slot = sums[row & 1];
            if (slot.row != row) {
                const int64_t ahead = row + 4 < source.height ? 4 * source.pitch : 0;
                horizontalSums(source.row(row), ahead, columns, WholeSteps(count), slot.values);
                slot.row = row;
            }
            use[i] = slot.values;
        }
        VerticalBlend(use[0], use[1], position.fraction, count, dst + int64_t{y} * dstPitch);
    }
}

// `entries` words of colTable are valid.
void ScaleSource(const SourcePlane& source, uint8_t* dst, int dstW, int dstH, int dstPitch, int rowFirst, int rowEnd,
                 const void* colTable, int entries) {
    if (source.width < 1 || source.height < 1) return;
    const int strips = (dstW + kStrip - 1) / kStrip;
    for (int x = 0, count = 0; x < dstW; x += count) {
        count = std::min(WholeSteps((dstW + strips - 1) / strips), dstW - x);
        Columns columns;
        FillColumns(source, scaleStep(source.width, dstW), colTable, entries, x, count, columns);
        ScaleStrip(source, columns, count, scaleStep(source.height, dstH), dst + x, dstPitch, rowFirst, rowEnd);
    }
}

void ScalePadded(const uint8_t* src, int srcW, int srcH, uint8_t* dst, int dstW, int dstH, int dstPitch, int rowFirst,
                 int rowEnd, const void* colTable, int entries) {
    const int64_t pitch = scalePaddedPitch(srcW);
    ScaleSource({src + kScaleBorder * pitch + kScaleBorder, pitch, srcW, srcH, kScaleBorder}, dst, dstW, dstH, dstPitch,
                rowFirst, rowEnd, colTable, entries);
}

void ScaleDirect(const uint8_t* src, int srcW, int srcH, int64_t srcPitch, uint8_t* dst, int dstW, int dstH,
                 int dstPitch) {
    ScaleSource({src, srcPitch, srcW, srcH, 0}, dst, dstW, dstH, dstPitch, 0, dstH, nullptr, 0);
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(ScalePadded);
HWY_EXPORT(ScaleDirect);

int y_bilinear_scale_crop_fixed_neon(const uint8_t* src, int srcW, int srcH, int /*srcStride*/, uint8_t* dst, int dstW,
                                     int dstH, int dstStride, int rowFirst, int rowEnd, const void* colTable) {
    HWY_DYNAMIC_DISPATCH(ScalePadded)
    (src, srcW, srcH, dst, dstW, dstH, dstStride, rowFirst, rowEnd, colTable, dstStride);
    return 0;
}

void uv_bilinear_scale_crop_fixed_neon(const uint8_t* src, int srcW, int srcH, uint8_t* dst, int dstW, int dstH,
                                       int dstPitch) {
    for (int plane = 0; plane < 2; ++plane) {
        HWY_DYNAMIC_DISPATCH(ScalePadded)
        (src + plane * scalePaddedSize(srcW, srcH), srcW, srcH, dst + int64_t{plane} * dstPitch * dstH, dstW, dstH,
         dstPitch, 0, dstH, nullptr, 0);
    }
}

void ScaleUnpadded_neon(const uint8_t* src, int srcW, int srcH, int64_t srcPitch, uint8_t* dst, int dstW, int dstH,
                        int dstPitch) {
    if (ScaleWholeRatio(src, srcW, srcH, srcPitch, dst, dstW, dstH, dstPitch)) return;
    HWY_DYNAMIC_DISPATCH(ScaleDirect)(src, srcW, srcH, srcPitch, dst, dstW, dstH, dstPitch);
}

}  // namespace eis
#endif
