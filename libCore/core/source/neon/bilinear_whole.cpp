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

// Between two samples or sums, at a quarter of the way and at three: four times their value.
template <class V>
struct Quarters {
    V near;
    V far;
};
template <class V>
HWY_INLINE Quarters<V> QuartersOf(V a, V b) {
    const V sum = hn::Add(a, b);
    return {hn::Add(sum, hn::Add(a, a)), hn::Add(sum, hn::Add(b, b))};
}

// Two destination rows between two source rows, from columns between x and x + 1 on, as many as d has lanes.
template <class D>
HWY_INLINE void DoubleColumns(D d, const uint8_t* upper, const uint8_t* lower, uint8_t* dst, int64_t dstPitch) {
    const hn::Rebind<uint8_t, D> dHalf;
    const hn::Repartition<uint8_t, D> d8;
    const auto columns = [&](const uint8_t* row) HWY_ATTR {
        return QuartersOf(hn::PromoteTo(d, hn::LoadU(dHalf, row)), hn::PromoteTo(d, hn::LoadU(dHalf, row + 1)));
    };
    const auto above = columns(upper);
    const auto below = columns(lower);
    const auto left = QuartersOf(above.near, below.near);
    const auto right = QuartersOf(above.far, below.far);
    const auto store = [&](auto even, auto odd, uint8_t* to) HWY_ATTR {
        hn::StoreU(hn::BitCast(d8, hn::Or(hn::ShiftRight<4>(even), hn::ShiftLeft<8>(hn::ShiftRight<4>(odd)))), d8, to);
    };
    store(left.near, right.near, dst);
    store(left.far, right.far, dst + dstPitch);
}

// The outermost columns are as their inner neighbours. `ahead` source bytes below and two destination rows below are
// fetched.
void DoubleRows(const uint8_t* upper, const uint8_t* lower, int width, uint8_t* dst, int64_t dstPitch, int64_t ahead,
                int64_t dstAhead) {
    const Words d;
    const hn::CappedTag<uint16_t, 1> dOne;
    const int step = static_cast<int>(hn::MaxLanes(d));
    const int count = width - 1;
    int x = 0;
    for (; x + step <= count; x += step) {
        hwy::Prefetch(lower + ahead + x);
        hwy::Prefetch(dst + dstAhead + 2 * x);
        hwy::Prefetch(dst + dstAhead + dstPitch + 2 * x);
        DoubleColumns(d, upper + x, lower + x, dst + 1 + 2 * x, dstPitch);
    }
    for (; x < count; ++x) DoubleColumns(dOne, upper + x, lower + x, dst + 1 + 2 * x, dstPitch);
    for (uint8_t* row : {dst, dst + dstPitch}) {
        row[0] = row[1];
        row[2 * width - 1] = row[2 * width - 2];
    }
}

// So are the outermost rows.
void ScaleDouble(const uint8_t* src, int srcW, int srcH, int64_t srcPitch, uint8_t* dst, int dstPitch) {
    const int64_t pitch = dstPitch;
    for (int y = 0; y + 1 < srcH; ++y) {
        const bool inside = y + 3 < srcH;
        DoubleRows(src + y * srcPitch, src + (y + 1) * srcPitch, srcW, dst + (2 * y + 1) * pitch, pitch,
                   inside ? srcPitch : 0, inside ? 2 * pitch : 0);
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
