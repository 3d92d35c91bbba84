#include "highLevel/src/gradient_planes.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "highLevel/src/gradient_planes.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using D16 = hn::CappedTag<int16_t, 32>;
using V16 = hn::Vec<D16>;
constexpr int kLanes = hn::MaxLanes(D16());

HWY_INLINE V16 WeightedSum(V16 a, V16 twice, V16 b) {
    return hn::Add(hn::Add(a, b), hn::Add(twice, twice));
}

// Saturating at 16 bits is far beyond the 255 that a gradient ends at.
HWY_INLINE V16 CutDifference(V16 a, V16 b, V16 threshold) {
    const D16 d;
    const V16 difference = hn::Max(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a));
    const V16 cut = hn::Min(difference, hn::Set(d, 255));
    return hn::IfThenZeroElse(hn::Lt(cut, threshold), cut);
}

// Of kLanes samples, from columns x - 1 to x + 1 of three rows.
HWY_INLINE void GradientVector(const int16_t* r0, const int16_t* r1, const int16_t* r2, int16_t threshold,
                               uint8_t* gradX, uint8_t* gradY, uint8_t* gradMean) {
    const D16 d;
    const hn::Rebind<uint8_t, D16> d8;
    const V16 limit = hn::Set(d, threshold);
    const V16 topLeft = hn::LoadU(d, r0 - 1);
    const V16 topRight = hn::LoadU(d, r0 + 1);
    const V16 bottomLeft = hn::LoadU(d, r2 - 1);
    const V16 bottomRight = hn::LoadU(d, r2 + 1);
    const V16 gx = CutDifference(WeightedSum(topLeft, hn::LoadU(d, r1 - 1), bottomLeft),
                                 WeightedSum(topRight, hn::LoadU(d, r1 + 1), bottomRight), limit);
    const V16 gy = CutDifference(WeightedSum(topLeft, hn::LoadU(d, r0), topRight),
                                 WeightedSum(bottomLeft, hn::LoadU(d, r2), bottomRight), limit);
    const V16 mean = hn::ShiftRight<1>(hn::Add(hn::Add(gx, gy), hn::Set(d, 1)));
    hn::StoreU(hn::DemoteTo(d8, gx), d8, gradX);
    hn::StoreU(hn::DemoteTo(d8, gy), d8, gradY);
    hn::StoreU(hn::DemoteTo(d8, mean), d8, gradMean);
}

void GradientsOfRow(const int16_t* r0, const int16_t* r1, const int16_t* r2, int width, int16_t threshold,
                    uint8_t* gradX, uint8_t* gradY, uint8_t* gradMean) {
    uint8_t* const out[3] = {gradX, gradY, gradMean};
    for (uint8_t* row : out) row[0] = row[width - 1] = 0;
    int x = 1;
    for (; x + kLanes < width; x += kLanes) {
        GradientVector(r0 + x, r1 + x, r2 + x, threshold, gradX + x, gradY + x, gradMean + x);
    }
    // What is left, from copies of the rows.
    const int left = width - 1 - x;
    if (left < 1) return;
    const int16_t* const rows[3] = {r0, r1, r2};
    int16_t samples[3][kLanes + 2] = {};
    uint8_t gradients[3][kLanes];
    for (int i = 0; i < 3; ++i) memcpy(samples[i], rows[i] + x - 1, (left + 2) * sizeof(int16_t));
    GradientVector(samples[0] + 1, samples[1] + 1, samples[2] + 1, threshold, gradients[0], gradients[1], gradients[2]);
    for (int i = 0; i < 3; ++i) memcpy(out[i] + x, gradients[i], left);
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(GradientsOfRow);

void GradientRow(const int16_t* above, const int16_t* row, const int16_t* below, int width, int threshold,
                 uint8_t* gradX, uint8_t* gradY, uint8_t* gradMean) {
    HWY_DYNAMIC_DISPATCH(GradientsOfRow)
    (above, row, below, width, static_cast<int16_t>(std::clamp(threshold, 0, 256)), gradX, gradY, gradMean);
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
        GradientRow(row - stride, row, row + stride, width, threshold, out, out + planeSize, out + 2 * planeSize);
    }
}

}  // namespace eis
#endif
