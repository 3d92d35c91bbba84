#include "libCore/core/source/neon/bilinear_whole.h"

#include <algorithm>
#include <cstring>

#include <hwy/cache_control.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "libCore/core/source/neon/bilinear_whole.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Words = hn::ScalableTag<uint16_t>;

// Sums of the pairs of a row.
HWY_INLINE hn::Vec<Words> PairSums(const uint8_t* row) {
    const Words d;
    const auto pairs = hn::BitCast(d, hn::LoadU(hn::Repartition<uint8_t, Words>(), row));
    return hn::Add(hn::And(pairs, hn::Set(d, 0xFF)), hn::ShiftRight<8>(pairs));
}

// The means of two by two samples, truncated. The rows `ahead` bytes below are fetched: few processors do it across the
// end of a page, where most rows end.
void HalfRow(const uint8_t* HWY_RESTRICT upper, const uint8_t* HWY_RESTRICT lower, int64_t ahead, int count,
             uint8_t* HWY_RESTRICT dst) {
    const Words d;
    const hn::Rebind<uint8_t, Words> dHalf;
    const int step = static_cast<int>(hn::Lanes(d));
    int x = 0;
    for (; x + step <= count; x += step) {
        hwy::Prefetch(upper + ahead + 2 * x);
        hwy::Prefetch(lower + ahead + 2 * x);
        const auto sum = hn::Add(PairSums(upper + 2 * x), PairSums(lower + 2 * x));
        hn::StoreU(hn::DemoteTo(dHalf, hn::BitCast(hn::RebindToSigned<Words>(), hn::ShiftRight<2>(sum))), dHalf,
                   dst + x);
    }
    for (; x < count; ++x) {
        dst[x] = static_cast<uint8_t>((upper[2 * x] + upper[2 * x + 1] + lower[2 * x] + lower[2 * x + 1]) >> 2);
    }
}

void ScaleHalf(const uint8_t* src, int64_t srcPitch, uint8_t* dst, int dstW, int dstH, int dstPitch) {
    for (int y = 0; y < dstH; ++y) {
        const uint8_t* upper = src + 2 * int64_t{y} * srcPitch;
        const int64_t ahead = y + 1 < dstH ? 2 * srcPitch : 0;
        HalfRow(upper, upper + srcPitch, ahead, dstW, dst + int64_t{y} * dstPitch);
    }
}

// Source columns handled in one go.
constexpr int kStrip = 1920;

// Of a source row at doubled width: four times the samples of even and of odd destination columns.
struct DoubledRow {
    int row = -1;  // which source row it holds
    HWY_ALIGN uint16_t even[kStrip];
    HWY_ALIGN uint16_t odd[kStrip];
};

// Columns first to first + count - 1 of a row of `width` samples. The outermost two lean on their inner neighbour.
void DoubleColumns(const uint8_t* HWY_RESTRICT samples, int64_t ahead, int width, int first, int count,
                   DoubledRow& out) {
    const uint8_t* HWY_RESTRICT at = samples + first;
    const int begin = first == 0 ? 1 : 0;
    const int end = first + count == width ? count - 1 : count;
    const Words d;
    const hn::Rebind<uint8_t, Words> dHalf;
    const int step = static_cast<int>(hn::Lanes(d));
    int x = begin;
    for (; x + step <= end; x += step) {
        hwy::Prefetch(at + ahead + x);
        const auto middle = hn::PromoteTo(d, hn::LoadU(dHalf, at + x));
        const auto three = hn::Add(middle, hn::Add(middle, middle));
        hn::StoreU(hn::Add(three, hn::PromoteTo(d, hn::LoadU(dHalf, at + x - 1))), d, out.even + x);
        hn::StoreU(hn::Add(three, hn::PromoteTo(d, hn::LoadU(dHalf, at + x + 1))), d, out.odd + x);
    }
    for (; x < count; ++x) {
        out.even[x] = static_cast<uint16_t>(3 * at[x] + at[x - 1]);
        if (x < end) out.odd[x] = static_cast<uint16_t>(3 * at[x] + at[x + 1]);
    }
    if (begin == 1) {
        out.even[0] = static_cast<uint16_t>(3 * at[0] + samples[std::min(1, width - 1)]);
        if (end > 0) out.odd[0] = static_cast<uint16_t>(3 * at[0] + at[1]);
    }
    if (end < count) out.odd[end] = static_cast<uint16_t>(3 * at[end] + samples[std::max(width - 2, 0)]);
}

// Three parts of one row and one of the other; even columns are the lower bytes of words.
void DoubleRow(const DoubledRow& near, const DoubledRow& far, int count, uint8_t* HWY_RESTRICT dst, int64_t ahead) {
    const Words d;
    const hn::Repartition<uint8_t, Words> d8;
    const auto blend = [&](const uint16_t* HWY_RESTRICT three, const uint16_t* HWY_RESTRICT one, int x) HWY_ATTR {
        const auto a = hn::Load(d, three + x);
        return hn::ShiftRight<4>(hn::Add(hn::Add(a, hn::Load(d, one + x)), hn::Add(a, a)));
    };
    const auto pairs = [&](int x) HWY_ATTR {
        const auto even = blend(near.even, far.even, x);
        return hn::BitCast(d8, hn::Or(even, hn::ShiftLeft<8>(blend(near.odd, far.odd, x))));
    };
    const int step = static_cast<int>(hn::Lanes(d));
    int x = 0;
    for (; x + step <= count; x += step) {
        hwy::Prefetch(dst + ahead + 2 * x);
        hn::StoreU(pairs(x), d8, dst + 2 * x);
    }
    if (x < count) {
        HWY_ALIGN uint8_t last[2 * hn::MaxLanes(d)];
        hn::Store(pairs(x), d8, last);
        std::memcpy(dst + 2 * x, last, size_t{2} * (count - x));
    }
}

void ScaleDouble(const uint8_t* src, int srcW, int srcH, int64_t srcPitch, uint8_t* dst, int dstPitch) {
    for (int first = 0; first < srcW; first += kStrip) {
        const int count = std::min(srcW - first, kStrip);
        DoubledRow rows[2];
        const auto doubled = [&](int row) HWY_ATTR -> const DoubledRow& {
            DoubledRow& slot = rows[row & 1];
            const int64_t ahead = row + 1 < srcH ? srcPitch : 0;
            if (slot.row != row) DoubleColumns(src + row * srcPitch, ahead, srcW, first, count, slot);
            slot.row = row;
            return slot;
        };
        for (int y = 0; y < 2 * srcH; ++y) {
            const int far = y % 2 == 0 ? y / 2 - 1 : y / 2 + 1;
            // The first and the last row lean on their inner neighbour.
            const int inside = far < 0 ? std::min(1, srcH - 1) : far == srcH ? std::max(srcH - 2, 0) : far;
            DoubleRow(doubled(y / 2), doubled(inside), count, dst + int64_t{y} * dstPitch + 2 * int64_t{first},
                      y + 2 < 2 * srcH ? 2 * int64_t{dstPitch} : 0);
        }
    }
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
    if (dstW == int64_t{srcW} * 2 && dstH == int64_t{srcH} * 2) {
        HWY_DYNAMIC_DISPATCH(ScaleDouble)(src, srcW, srcH, srcPitch, dst, dstPitch);
        return true;
    }
    return false;
}

}  // namespace eis
#endif
