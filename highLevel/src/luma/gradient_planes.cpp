#include "highLevel/src/luma/gradient_planes.h"

#include <algorithm>
#include <cstring>

#define HWY_TARGET_INCLUDE "highLevel/src/luma/gradient_planes.cpp"
#include "libCore/core/source/frame/vector_unit.h"

#include "libCore/core/source/frame/vector_ops-inl.h"

EIS_BEFORE_TARGET();

using D16 = HWY_CAPPED(int16_t, 16);
using D8 = hn::Repartition<uint8_t, D16>;
using V16 = hn::Vec<D16>;
using V8 = hn::Vec<D8>;
constexpr int kHalf = hn::MaxLanes(D16());
constexpr int kRun = 2 * kHalf;

HWY_INLINE V16 WeightedSum(V16 a, V16 twice, V16 b) {
#if HWY_ARCH_ARM
    return V16(vmlaq_n_s16(hn::Add(a, b).raw, twice.raw, 2));
#else
    return hn::Add(hn::Add(a, b), hn::Add(twice, twice));
#endif
}

HWY_INLINE V8 ZeroBelow(V8 gradient, V8 threshold) {
#if HWY_ARCH_ARM
    return V8(vandq_u8(vcgeq_u8(gradient.raw, threshold.raw), gradient.raw));
#else
    return hn::IfThenElseZero(hn::Eq(hn::Max(gradient, threshold), gradient), gradient);
#endif
}

// Of kRun samples, from columns x - 1 to x + 1 of three rows.
HWY_INLINE void GradientRun(const int16_t* r0, const int16_t* r1, const int16_t* r2, V8 threshold,
                            const GradientRows& out) {
    const D16 d;
    const D8 d8;
    V16 left[2];
    V16 right[2];
    V16 top[2];
    V16 bottom[2];
    for (int half = 0; half < 2; ++half) {
        const int x = half * kHalf;
        const V16 topLeft = hn::LoadU(d, r0 + x - 1);
        const V16 topRight = hn::LoadU(d, r0 + x + 1);
        const V16 bottomLeft = hn::LoadU(d, r2 + x - 1);
        const V16 bottomRight = hn::LoadU(d, r2 + x + 1);
        left[half] = WeightedSum(topLeft, hn::LoadU(d, r1 + x - 1), bottomLeft);
        right[half] = WeightedSum(topRight, hn::LoadU(d, r1 + x + 1), bottomRight);
        top[half] = WeightedSum(topLeft, hn::LoadU(d, r0 + x), topRight);
        bottom[half] = WeightedSum(bottomLeft, hn::LoadU(d, r2 + x), bottomRight);
    }
    const V8 cutX = ZeroBelow(PackDistances(left[0], right[0], left[1], right[1]), threshold);
    const V8 cutY = ZeroBelow(PackDistances(top[0], bottom[0], top[1], bottom[1]), threshold);
    hn::StoreU(cutX, d8, out.x);
    hn::StoreU(cutY, d8, out.y);
    hn::StoreU(hn::AverageRound(cutX, cutY), d8, out.mean);
}

void GradientsOfRow(const int16_t* r0, const int16_t* r1, const int16_t* r2, int width, uint8_t threshold,
                    const GradientRows& to) {
    const V8 limit = hn::Set(D8(), threshold);
    uint8_t* const out[3] = {to.x, to.y, to.mean};
    for (uint8_t* row : out) row[0] = row[width - 1] = 0;
    int x = 1;
    for (; x + kRun < width; x += kRun) {
        GradientRun(r0 + x, r1 + x, r2 + x, limit, {out[0] + x, out[1] + x, out[2] + x});
    }
    // What is left, from copies of the rows.
    const int left = width - 1 - x;
    if (left < 1) return;
    const int16_t* const rows[3] = {r0, r1, r2};
    int16_t samples[3][kRun + 2] = {};
    uint8_t gradients[3][kRun];
    for (int i = 0; i < 3; ++i) memcpy(samples[i], rows[i] + x - 1, (left + 2) * sizeof(int16_t));
    GradientRun(samples[0] + 1, samples[1] + 1, samples[2] + 1, limit, {gradients[0], gradients[1], gradients[2]});
    for (int i = 0; i < 3; ++i) memcpy(out[i] + x, gradients[i], left);
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(GradientsOfRow);

void GradientRow(const int16_t* above, const int16_t* row, const int16_t* below, int width, int threshold,
                 const GradientRows& out) {
    if (threshold > 255) {
        for (uint8_t* gradients : {out.x, out.y, out.mean}) std::memset(gradients, 0, width);
        return;
    }
    HWY_DYNAMIC_DISPATCH(GradientsOfRow)
    (above, row, below, width, static_cast<uint8_t>(std::max(threshold, 0)), out);
}

void GradientPlanes(const int16_t* pLow, uint8_t* pPlanes, int width, int height, int stride, int threshold) {
    if (width < 1 || height < 1) return;
    const int64_t planeSize = int64_t{width} * height;
    for (int plane = 0; plane < 3; ++plane) {
        uint8_t* out = pPlanes + plane * planeSize;
        std::memset(out, 0, width);
        std::memset(out + planeSize - width, 0, width);
    }
    for (int64_t y = 1; y < height - 1; ++y) {
        const int16_t* row = pLow + y * stride;
        uint8_t* out = pPlanes + y * width;
        GradientRow(row - stride, row, row + stride, width, threshold, {out, out + planeSize, out + 2 * planeSize});
    }
}

}  // namespace eis
#endif
