#include "libCore/core/source/neon/warp/warp_rows.h"

#include <hwy/cache_control.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "libCore/core/source/neon/warp/affine_transform.h"
#include "libCore/core/source/neon/warp/warp_geometry.h"

#define HWY_TARGET_INCLUDE "libCore/core/source/neon/warp/warp_rows.cpp"
#include "libCore/core/source/frame/vector_unit.h"

#include "libCore/core/source/frame/vector_ops-inl.h"
#include "libCore/core/source/neon/warp/warp_positions-inl.h"

EIS_BEFORE_TARGET();

// How many rows ahead source samples are prefetched: along a rotated line the hardware prefetcher loses its stream at
// every page and row.
constexpr int kRowsAhead = 8;

// Vectors with a lane for each column of kGroupsTogether groups, and of one.
using Columns = HWY_CAPPED(uint16_t, 16);
using GroupColumns = hn::CappedTag<uint16_t, kWarpGroupColumns>;
constexpr int kGroupsTogether = static_cast<int>(hn::MaxLanes(Columns())) / kWarpGroupColumns;

template <class D>
using Samples = hn::Repartition<uint8_t, D>;

// Whether a group's four words are 0.
HWY_INLINE bool None(const uint32_t* words) {
    uint64_t halves[2];
    std::memcpy(halves, words, sizeof halves);
    return (halves[0] | halves[1]) == 0;
}

// Whether the words of kGroupsTogether groups are 0.
HWY_INLINE bool NoneTogether(const uint32_t* words) {
    if constexpr (kGroupsTogether == 1) return None(words);
    const hn::Repartition<uint32_t, Columns> d;
    return hn::AllTrue(d, hn::Eq(hn::LoadU(d, words), hn::Zero(d)));
}

// Samples and weights are multiplied in pairs of neighbours on x86, and on NEON in halves: left ones, then right ones.
#if HWY_ARCH_ARM
alignas(16) constexpr uint8_t kContiguous[16] = {0, 1, 2, 3, 4, 5, 6, 7, 1, 2, 3, 4, 5, 6, 7, 8};
alignas(16) constexpr uint8_t kScattered[16] = {0, 1, 4, 5, 8, 9, 12, 13, 1, 2, 5, 6, 9, 10, 13, 14};
alignas(16) constexpr uint8_t kWeights[16] = {0, 0, 4, 4, 8, 8, 12, 12, 1, 1, 5, 5, 9, 9, 13, 13};
#else
alignas(16) constexpr uint8_t kContiguous[16] = {0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8};
alignas(16) constexpr uint8_t kScattered[16] = {0, 1, 1, 2, 4, 5, 5, 6, 8, 9, 9, 10, 12, 13, 13, 14};
#endif

// Each column between its two neighbours: twice the sample, at most 510.
template <class D>
HWY_INLINE hn::Vec<D> BlendColumns(D d, hn::Vec<Samples<D>> pairs, hn::Vec<Samples<D>> weights) {
#if HWY_ARCH_ARM
    (void)d;
    const uint16x8_t left = vmull_u8(vget_low_u8(pairs.raw), vget_low_u8(weights.raw));
    return hn::Vec<D>(vrshrq_n_u16(vmlal_high_u8(left, pairs.raw, weights.raw), 6));
#else
    // The products take signed samples: 128 is subtracted before and, at a weight of 128 in all, added behind.
    const auto centred = hn::Xor(pairs, hn::Set(Samples<D>(), 0x80));
    return hn::ShiftRight<6>(hn::Add(PairwiseProducts(weights, centred), hn::Set(d, 128 * 128 + 32)));
#endif
}

// As bytes. Exact in 16 bits: upper * (128 - fy) + lower * fy is at most 65280.
template <class V>
HWY_INLINE auto BlendRows(V upper, V lower, V fy) {
    const hn::DFromV<V> d;
    const hn::Rebind<uint8_t, decltype(d)> dOut;
    const V sum = hn::Add(hn::ShiftLeft<7>(upper), hn::Mul(hn::Sub(lower, upper), fy));
#if HWY_ARCH_ARM
    return hn::VFromD<decltype(dOut)>(vrshrn_n_u16(sum.raw, 8));
#else
    const hn::RebindToSigned<decltype(d)> dSigned;
    return hn::DemoteTo(dOut, hn::BitCast(dSigned, hn::ShiftRight<8>(hn::Add(sum, hn::Set(d, 128)))));
#endif
}

// The nine samples of a contiguous group as pairs.
template <class D>
HWY_INLINE hn::Vec<Samples<D>> ContiguousPairs(D /*d*/, const uint8_t* plane, const int32_t* offset) {
    const Samples<D> d;
    const Samples<GroupColumns> dGroup;
    const auto pairs = hn::LoadDup128(d, kContiguous);
    const auto first = hn::LoadU(dGroup, plane + offset[0]);
    if constexpr (hn::MaxLanes(D()) == kWarpGroupColumns) {
        return hn::TableLookupBytes(first, pairs);
    } else {
        const auto second = hn::LoadU(dGroup, plane + offset[kWarpGroupPositions]);
        return hn::TableLookupBytes(hn::Combine(d, second, first), pairs);
    }
}

// The three samples of each position as pairs.
HWY_INLINE hn::Vec<Samples<GroupColumns>> ScatteredPairs(const uint8_t* plane, const int32_t* offset) {
    const Samples<GroupColumns> d;
    alignas(16) uint32_t samples[kWarpGroupPositions];
    for (int j = 0; j < kWarpGroupPositions; ++j) std::memcpy(&samples[j], plane + offset[j], sizeof samples[j]);
#if HWY_ARCH_ARM
    // Lane by lane: clang 14 takes apart what it should load whole from an array.
    uint32x4_t words = vdupq_n_u32(samples[0]);
    words = vsetq_lane_u32(samples[1], words, 1);
    words = vsetq_lane_u32(samples[2], words, 2);
    const hn::Vec128<uint32_t> loaded(vsetq_lane_u32(samples[3], words, 3));
#else
    const auto loaded = hn::Load(hn::CappedTag<uint32_t, 4>(), samples);
#endif
    return hn::TableLookupBytes(hn::BitCast(d, loaded), hn::LoadDup128(d, kScattered));
}

// Makes two destination rows of the groups' columns from three source rows, given as pairs of neighbours.
template <class D, class Pairs>
HWY_INLINE void BlendLuma(D d, Pairs pairs, const Positions& at, int position, uint8_t* out, int64_t outStride) {
    const hn::Repartition<uint32_t, D> d32;
    const hn::Rebind<uint8_t, D> dOut;
    auto weights = hn::BitCast(Samples<D>(), hn::LoadU(d32, at.columnWeights + position));
#if HWY_ARCH_ARM
    weights = hn::TableLookupBytes(weights, hn::LoadDup128(Samples<D>(), kWeights));
#endif
    const auto fy = hn::BitCast(d, hn::LoadU(d32, at.rowWeights + position));
    const auto a0 = BlendColumns(d, pairs(0), weights);
    const auto a1 = BlendColumns(d, pairs(1), weights);
    const auto a2 = BlendColumns(d, pairs(2), weights);
    hn::StoreU(BlendRows(a0, a1, fy), dOut, out);
    hn::StoreU(BlendRows(a1, a2, fy), dOut, out + outStride);
}

// Whether loads of 16 bytes from the first `count` offsets lie in the plane, two rows below, too.
HWY_INLINE bool LumaInside(const Source& from, const int32_t* offset, int count) {
    bool inside = true;
    for (int j = 0; j < count; ++j) inside = inside && offset[j] >= 0 && offset[j] <= from.lastLoad;
    return inside;
}

HWY_INLINE void ContiguousChroma(const Source& from, int32_t offset, uint8_t* const out[2], int64_t to) {
    for (int i = 0; i < 2; ++i) std::memcpy(out[i] + to, from.chroma[i] + offset, kWarpGroupPositions);
}

// Chroma of a group; false, and nothing done, where its samples leave the plane.
HWY_INLINE bool NearestChroma(const Source& from, const int32_t* offset, bool contiguous, uint8_t* const out[2],
                              int64_t to) {
    if (contiguous) {
        if (offset[0] < 0 || offset[0] + int64_t{kWarpGroupPositions} > from.chromaSize) return false;
        ContiguousChroma(from, offset[0], out, to);
        return true;
    }
    for (int j = 0; j < kWarpGroupPositions; ++j) {
        if (offset[j] < 0 || offset[j] >= from.chromaSize) return false;
    }
    for (int i = 0; i < 2; ++i) {
        for (int j = 0; j < kWarpGroupPositions; ++j) out[i][to + j] = from.chroma[i][offset[j]];
    }
    return true;
}

HWY_INLINE void FetchAhead(const Source& from, const Positions& at, int position, bool lumaOnly) {
    const int64_t luma = at.offset[position] + kRowsAhead * from.stride;
    if (luma < 0 || luma + from.stride >= from.lumaSize) return;
    hwy::Prefetch(from.luma + luma);
    hwy::Prefetch(from.luma + luma + from.stride);
    if (lumaOnly) return;
    const int64_t chroma = at.chromaOffset[position] + kRowsAhead / 2 * int64_t{from.chromaPitch};
    if (chroma < 0 || chroma >= from.chromaSize) return;
    for (const uint8_t* plane : from.chroma) hwy::Prefetch(plane + chroma);
}

// Where a row pair goes.
struct Target {
    uint8_t* luma;
    int64_t stride;
    uint8_t* chroma[2];  // null for luma alone
};

// On AArch64 a function of its own: in a larger one clang runs out of registers for its loop. Elsewhere a call costs
// more.
#undef EIS_WARP_RUN
#if HWY_ARCH_ARM
#define EIS_WARP_RUN HWY_NOINLINE
#else
#define EIS_WARP_RUN HWY_INLINE
#endif

// Groups from `first` on, before `end`, as long as all positions are common and contiguous: how many.
EIS_WARP_RUN int WarpRun(const Source& source, const Positions& at, int first, int end, bool lumaOnly,
                         const Target& target) {
    if (!at.inside) return 0;
    const Columns d;
    const Source from = source;
    const Target to = target;
    int g = first;
    for (; g + kGroupsTogether <= end && NoneTogether(at.special + kWarpGroupPositions * g); g += kGroupsTogether) {
        const int p = kWarpGroupPositions * g;
        for (int i = 0; !lumaOnly && i < kGroupsTogether; ++i) {
            const int position = p + kWarpGroupPositions * i;
            ContiguousChroma(from, at.chromaOffset[position], to.chroma, position);
        }
        const auto pairs = [&](int row)
                               HWY_ATTR { return ContiguousPairs(d, from.luma + row * from.stride, at.offset + p); };
        BlendLuma(d, pairs, at, p, to.luma + int64_t{kWarpGroupColumns} * g, to.stride);
    }
    return g - first;
}

// One group; false, and nothing done, where it is left to the plain form.
HWY_INLINE bool WarpGroup(const Source& from, const Positions& at, int g, bool contiguous, bool lumaOnly,
                          const Target& to) {
    const GroupColumns d;
    const int p = kWarpGroupPositions * g;
    const int32_t* offset = at.offset + p;
    if (!None(at.uncommon + p) || !LumaInside(from, offset, contiguous ? 1 : kWarpGroupPositions)) return false;
    if (!lumaOnly && !NearestChroma(from, at.chromaOffset + p, contiguous, to.chroma, p)) return false;
    const auto pairs = [&](int row) HWY_ATTR {
        const uint8_t* samples = from.luma + row * from.stride;
        return contiguous ? ContiguousPairs(d, samples, offset) : ScatteredPairs(samples, offset);
    };
    BlendLuma(d, pairs, at, p, to.luma + int64_t{kWarpGroupColumns} * g, to.stride);
    return true;
}

bool WarpRowPair(const WarpRecord& record, int row, bool lumaOnly) {
    const float* h = record.homography;
    const ST_PICTURE& destination = record.destination;
    const int32_t stride = record.source.stride;
    const int32_t chromaPitch = warpChromaPitch(stride);
    const Source from{record.source.pData[0],
                      int64_t{stride} * record.source.height,
                      int64_t{stride} * (record.source.height - 2) - 16,
                      stride,
                      {record.source.pData[1], record.source.pData[2]},
                      int64_t{chromaPitch} * (record.source.height >> 1),
                      chromaPitch};
    Target to{destination.pData[0] + int64_t{row} * destination.stride + record.x, destination.stride, {}};
    const int64_t chromaStart = int64_t{row >> 1} * chromaPitch + (record.x >> 1);
    for (int i = 0; !lumaOnly && i < 2; ++i) to.chroma[i] = destination.pData[1 + i] + chromaStart;
    const int totalGroups = record.w / kWarpGroupColumns;
    const auto r = static_cast<float>(row);
    const Projection line(h, r);
    Positions at;
    float denominators[kGroups];
    bool contiguous = false;
    Denominator denominator{std::fma(r, h[7], std::fma(h[6], static_cast<float>(record.x), 1.0F)), h[6] * 8.0F};
    denominator.next(denominators, kGroups);
    for (int first = 0; first < totalGroups; first += kGroups) {
        const int groups = std::min(totalGroups - first, kGroups);
        Reciprocals(denominators, groups, at.inverse);
        const int positions = kWarpGroupPositions * groups;
        Locate(record.xTable + kWarpGroupPositions * first, line, from, positions, at);
        int fetched = 0;
        for (int g = 0, done = 0; g < groups; g += done) {
            const int p = kWarpGroupPositions * g;
            for (; fetched <= g; fetched += 8) FetchAhead(from, at, p, lumaOnly);
            done = WarpRun(from, at, g, std::min(groups, fetched), lumaOnly, to);
            if (done > 0) {
                contiguous = true;
            } else {
                done = 1;
                contiguous = warpContiguous(at.offset + p);
                if (!WarpGroup(from, at, g, contiguous, lumaOnly, to)) {
                    contiguous = WarpGroup_plain(record, row, first + g, at.inverse[p], lumaOnly);
                }
            }
            // The next run's denominators are a chain of additions that wait for one another: spread over the groups,
            // that latency is hidden.
            denominator.next(denominators + g, done);
        }
        to.luma += kWarpGroupColumns * groups;
        for (int i = 0; !lumaOnly && i < 2; ++i) to.chroma[i] += kWarpGroupPositions * groups;
    }
    return contiguous;
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(WarpRowPair);

bool WarpRowPair(const WarpRecord& record, int row, bool lumaOnly) {
    return HWY_DYNAMIC_DISPATCH(WarpRowPair)(record, row, lumaOnly);
}

}  // namespace eis
#endif
