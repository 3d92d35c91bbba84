#include "libCore/core/source/neon/scale/bilinear_scale.h"

#include <algorithm>
#include <cstring>

#include <hwy/cache_control.h>

#include "libCore/core/source/neon/scale/bilinear_position.h"
#include "libCore/core/source/neon/scale/bilinear_whole.h"

#define HWY_TARGET_INCLUDE "libCore/core/source/neon/scale/bilinear_scale.cpp"
#include "libCore/core/source/frame/vector_unit.h"

#include "libCore/core/source/frame/vector_ops-inl.h"

EIS_BEFORE_TARGET();

// Columns handled in one go, whose tables stay on the stack. Rows are read in runs as long as can be: the processor
// fetches ahead along a row only.
constexpr int kStrip = 6144;
constexpr int kScatteredStrip = 1024;
// Columns whose neighbours come from one load of 16 bytes.
constexpr int kBlock = 4;
constexpr int kLoad = 16;
// How many rows ahead source samples are prefetched.
constexpr int kRowsAhead = 4;

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

// Where destination columns fall; `entries` words of the table are valid.
struct ColumnMap {
    int32_t step;
    const void* table;
    int entries;

    ScalePosition at(int x) const { return scalePosition(step, scaleColumn(table, entries, x)); }
};

// Tables of a strip's columns, filled up to whole steps, where each block's neighbours lie in one load.
struct CompactColumns {
    // Of each block: its load's first column, the bytes of the load that go to its lanes, the weights of the lanes.
    int32_t base[kStrip / kBlock];
    alignas(32) uint8_t lanes[kStrip / kBlock][kLoad];
    alignas(32) int16_t weights[kStrip / kBlock][2 * kBlock];
};

// Tables of columns wherever their neighbours lie.
struct ScatteredColumns {
    int32_t left[kScatteredStrip];
    int32_t right[kScatteredStrip];
    uint32_t fraction[kScatteredStrip];
};

// False when a block's neighbours do not lie in one load inside the row.
bool FillColumns(const SourcePlane& source, const ColumnMap& map, int first, int count, CompactColumns& columns) {
    for (int b = 0; b * kBlock < WholeSteps(count); ++b) {
        int32_t left[kBlock];
        int32_t right[kBlock];
        int32_t low = INT32_MAX;
        int32_t high = INT32_MIN;
        for (int k = 0; k < kBlock; ++k) {
            const ScalePosition position = map.at(first + std::min(b * kBlock + k, count - 1));
            left[k] = source.column(position.index);
            right[k] = source.column(int64_t{position.index} + 1);
            columns.weights[b][LaneOf(k, 0)] = static_cast<int16_t>(4096 - position.fraction);
            columns.weights[b][LaneOf(k, 1)] = static_cast<int16_t>(position.fraction);
            low = std::min({low, left[k], right[k]});
            high = std::max({high, left[k], right[k]});
        }
        const int32_t base = std::min(low, source.width + source.border - kLoad);
        if (base < -source.border || high - base >= kLoad) return false;
        columns.base[b] = base;
        std::memset(columns.lanes[b], 0x80, kLoad);  // which gives a zero byte
        for (int k = 0; k < kBlock; ++k) {
            columns.lanes[b][2 * LaneOf(k, 0)] = static_cast<uint8_t>(left[k] - base);
            columns.lanes[b][2 * LaneOf(k, 1)] = static_cast<uint8_t>(right[k] - base);
        }
    }
    return true;
}

void FillColumns(const SourcePlane& source, const ColumnMap& map, int first, int count, ScatteredColumns& columns) {
    for (int x = 0; x < count; ++x) {
        const ScalePosition position = map.at(first + x);
        columns.left[x] = source.column(position.index);
        columns.right[x] = source.column(int64_t{position.index} + 1);
        columns.fraction[x] = position.fraction;
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

// A vector of columns from block b on.
struct Blocks {
    const int32_t* base;
    hn::Vec<hn::Repartition<uint8_t, Sums>> lanes;
    hn::Vec<hn::Repartition<int16_t, Sums>> weights;

    HWY_INLINE Blocks(const CompactColumns& columns, size_t b)
        : base(columns.base + b),
          lanes(hn::Load(hn::Repartition<uint8_t, Sums>(), columns.lanes[b])),
          weights(hn::Load(hn::Repartition<int16_t, Sums>(), columns.weights[b])) {}

    // A row interpolated there: 20 bits, 4096 times the sample value.
    HWY_INLINE SumsV sums(const uint8_t* HWY_RESTRICT row) const {
        const hn::Repartition<int16_t, Sums> d16;
        const auto words = hn::BitCast(d16, hn::TableLookupBytesOr0(LoadBlocks(row, base), lanes));
#if HWY_ARCH_ARM
        int32x4_t both = vmull_s16(vget_low_s16(words.raw), vget_low_s16(weights.raw));
        // For the intrinsic clang 14 moves upper halves down first.
        asm("smlal2 %0.4s, %1.8h, %2.8h" : "+w"(both) : "w"(words.raw), "w"(weights.raw));
        return SumsV(both);
#else
        const Sums d;
        SumsV second = hn::Zero(d);
        const SumsV first = hn::ReorderWidenMulAccumulate(d, words, weights, hn::Zero(d), second);
        return hn::Add(first, second);
#endif
    }
};

// The uppermost bytes of four vectors in order.
HWY_INLINE hn::Vec<hn::Repartition<uint8_t, Sums>> PackSums(SumsV a, SumsV b, SumsV c, SumsV d) {
    const hn::Repartition<int16_t, Sums> d16;
#if HWY_ARCH_ARM
    const hn::Repartition<uint8_t, Sums> d8;
    const auto words = [&](SumsV first, SumsV second) {
        return hn::BitCast(d8, hn::ConcatOdd(d16, hn::BitCast(d16, second), hn::BitCast(d16, first)));
    };
    return hn::ConcatOdd(d8, words(c, d), words(a, b));
#else
    const auto upper = [](SumsV v) HWY_ATTR {
        return hn::BitCast(Sums(), hn::ShiftRight<24>(hn::BitCast(hn::RebindToUnsigned<Sums>(), v)));
    };
    const auto ab = hn::ReorderDemote2To(d16, upper(a), upper(b));
    const auto cd = hn::ReorderDemote2To(d16, upper(c), upper(d));
    const auto bytes = PackBlocks(ab, cd);
#if HWY_CAP_GE256
    // Both packings work in halves of a vector.
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    return hn::Vec<hn::Repartition<uint8_t, Sums>>{_mm256_permutevar8x32_epi32(bytes.raw, order)};
#else
    return bytes;
#endif
#endif
}

// The two source rows of a destination row, and the weight of the lower one in 4096ths. The same columns `ahead` bytes
// below are fetched: few processors do it across the end of a page, where most rows end.
struct RowPair {
    const uint8_t* upper;
    const uint8_t* lower;
    uint32_t fraction;
    int64_t ahead;
};

// Between two rows' sums. Wrapping: the sum of both terms is at most 255 << 24 unsigned, however far below zero the
// second one is.
HWY_INLINE SumsV Blend(const RowPair& rows, const Blocks& blocks) {
    const SumsV upper = blocks.sums(rows.upper);
    const SumsV lower = blocks.sums(rows.lower);
    const Sums d;
    const SumsV fy = hn::Set(d, static_cast<int32_t>(rows.fraction));
#if HWY_ARCH_ARM
    const int32x4_t upperPart = vmulq_n_s32(upper.raw, 4096 - static_cast<int32_t>(rows.fraction));
    return SumsV(vmlaq_s32(upperPart, lower.raw, fy.raw));
#else
    return hn::Add(hn::ShiftLeft<12>(upper), hn::Mul(hn::Sub(lower, upper), fy));
#endif
}

// One row, or two `pitch` apart: what a step's columns take from tables is loaded once for both.
template <int kRows>  // 1 or 2
void BlendRows(const RowPair (&rows)[kRows], const CompactColumns& columns, int count, uint8_t* HWY_RESTRICT dst,
               int64_t pitch) {
    const hn::Repartition<uint8_t, Sums> d8;
    constexpr size_t kStep = kSumLanes / kBlock;
    for (int x = 0; x < count; x += kBytes) {
        const size_t b = static_cast<size_t>(x) / kBlock;
        for (const size_t fetched : {b, b + 2 * kStep}) {
            for (const RowPair& pair : rows) {
                hwy::Prefetch(pair.upper + pair.ahead + columns.base[fetched]);
                hwy::Prefetch(pair.lower + pair.ahead + columns.base[fetched]);
            }
        }
        // Step by step, for clang 14 leaves a loop of loops as it is.
        SumsV sums[kRows][4];
        const auto blend = [&](size_t i) HWY_ATTR {
            const Blocks blocks(columns, b + i * kStep);
            sums[0][i] = Blend(rows[0], blocks);
            if constexpr (kRows == 2) sums[1][i] = Blend(rows[1], blocks);
        };
        blend(0);
        blend(1);
        blend(2);
        blend(3);
        const auto store = [&](const SumsV* of, uint8_t* to) HWY_ATTR {
            const auto bytes = PackSums(of[0], of[1], of[2], of[3]);
            if (x + kBytes <= count) {
                hn::StoreU(bytes, d8, to);
            } else {
                alignas(32) uint8_t last[kBytes];
                hn::Store(bytes, d8, last);
                std::memcpy(to, last, count - x);
            }
        };
        store(sums[0], dst + x);
        if constexpr (kRows == 2) store(sums[1], dst + pitch + x);
    }
}

template <int kRows>
void BlendRows(const RowPair (&rows)[kRows], const ScatteredColumns& columns, int count, uint8_t* HWY_RESTRICT dst,
               int64_t pitch) {
    for (int r = 0; r < kRows; ++r) {
        for (int x = 0; x < count; ++x) {
            const auto sum = [&](const uint8_t* row) {
                const uint32_t left = row[columns.left[x]];
                return (left << 12) + (row[columns.right[x]] - left) * columns.fraction[x];
            };
            const uint32_t upper = sum(rows[r].upper);
            const uint32_t between = (upper << 12) + (sum(rows[r].lower) - upper) * rows[r].fraction;
            dst[r * pitch + x] = static_cast<uint8_t>(between >> 24);
        }
    }
}

// One plane's destination, from row rowFirst to row rowEnd - 1.
struct Destination {
    uint8_t* samples;
    int64_t pitch;
    int32_t rowFirst;
    int32_t rowEnd;
};

template <class Columns>
void ScaleStrip(const SourcePlane& source, const Columns& columns, int32_t stepY, const Destination& to, int first,
                int count) {
    const auto pair = [&](int y) -> RowPair {
        const ScalePosition position = scalePosition(stepY, y);
        const int64_t row = position.index;
        const int64_t ahead = row + 1 + kRowsAhead < source.height ? kRowsAhead * source.pitch : 0;
        return {source.row(row), source.row(row + 1), position.fraction, ahead};
    };
    uint8_t* dst = to.samples + first;
    int y = to.rowFirst;
    for (; y + 1 < to.rowEnd; y += 2) BlendRows({pair(y), pair(y + 1)}, columns, count, dst + y * to.pitch, to.pitch);
    if (y < to.rowEnd) BlendRows({pair(y)}, columns, count, dst + y * to.pitch, to.pitch);
}

HWY_NOINLINE void ScaleScattered(const SourcePlane& source, const ColumnMap& map, int32_t stepY, const Destination& to,
                                 int first, int end) {
    ScatteredColumns columns;
    for (int x = first; x < end; x += kScatteredStrip) {
        const int count = std::min(kScatteredStrip, end - x);
        FillColumns(source, map, x, count, columns);
        ScaleStrip(source, columns, stepY, to, x, count);
    }
}

void ScaleSource(const SourcePlane& source, const PlaneView& plane, const ScaleRows& rows, const ScaleColumns& table) {
    if (source.width < 1 || source.height < 1) return;
    const int dstW = plane.width;
    const Destination to{plane.data, plane.pitch, rows.first, rows.end};
    const ColumnMap map{scaleStep(source.width, dstW), table.table, table.entries};
    const int32_t stepY = scaleStep(source.height, plane.height);
    const int strips = (dstW + kStrip - 1) / kStrip;
    CompactColumns columns;
    for (int x = 0, count = 0; x < dstW; x += count) {
        count = std::min(WholeSteps((dstW + strips - 1) / strips), dstW - x);
        if (FillColumns(source, map, x, count, columns)) {
            ScaleStrip(source, columns, stepY, to, x, count);
        } else {
            ScaleScattered(source, map, stepY, to, x, x + count);
        }
    }
}

void ScalePadded(const uint8_t* src, int srcW, int srcH, const PlaneView& to, const ScaleRows& rows,
                 const ScaleColumns& table) {
    const int64_t pitch = scalePaddedPitch(srcW);
    ScaleSource({src + kScaleBorder * pitch + kScaleBorder, pitch, srcW, srcH, kScaleBorder}, to, rows, table);
}

void ScaleDirect(const PlaneView& from, const PlaneView& to) {
    ScaleSource({from.data, from.pitch, from.width, from.height, 0}, to, {0, to.height}, {nullptr, 0});
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(ScalePadded);
HWY_EXPORT(ScaleDirect);

// NOLINTNEXTLINE(readability-function-size): a signature of the system
int y_bilinear_scale_crop_fixed_neon(const uint8_t* src, int srcW, int srcH, int /*srcStride*/, uint8_t* dst, int dstW,
                                     int dstH, int dstStride, int rowFirst, int rowEnd, const void* colTable) {
    HWY_DYNAMIC_DISPATCH(ScalePadded)
    (src, srcW, srcH, {dst, dstStride, dstW, dstH}, {rowFirst, rowEnd}, {colTable, dstStride});
    return 0;
}

void uv_bilinear_scale_crop_fixed(const uint8_t* src, int srcW, int srcH, const PlaneView& to) {
    PlaneView plane = to;
    for (int i = 0; i < 2; ++i, plane.data += int64_t{to.pitch} * to.height) {
        HWY_DYNAMIC_DISPATCH(ScalePadded)
        (src + i * scalePaddedSize(srcW, srcH), srcW, srcH, plane, {0, to.height}, {nullptr, 0});
    }
}

void ScaleUnpadded(const PlaneView& from, const PlaneView& to) {
    if (ScaleWholeRatio(from, to)) return;
    HWY_DYNAMIC_DISPATCH(ScaleDirect)(from, to);
}

}  // namespace eis
#endif
