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

HWY_INLINE int16_t WeightedSum(int16_t a, int16_t twice, int16_t b) {
    return static_cast<int16_t>(a + 2 * twice + b);
}

// The larger one first: the difference of two 16-bit values fits 16 bits without a sign.
HWY_INLINE uint16_t CutDifference(int16_t a, int16_t b, uint16_t threshold) {
    const auto difference = static_cast<uint16_t>((a > b ? a : b) - (a < b ? a : b));
    const auto cut = static_cast<uint16_t>(difference < 255 ? difference : 255);
    return cut >= threshold ? cut : 0;
}

// `columns` samples from the second one of three rows on.
void GradientRow(const int16_t* HWY_RESTRICT r0, const int16_t* HWY_RESTRICT r1, const int16_t* HWY_RESTRICT r2,
                 int columns, uint16_t threshold, uint8_t* HWY_RESTRICT gradX, uint8_t* HWY_RESTRICT gradY,
                 uint8_t* HWY_RESTRICT gradMean) {
    for (int x = 0; x < columns; ++x) {
        const uint16_t gx =
            CutDifference(WeightedSum(r0[x], r1[x], r2[x]), WeightedSum(r0[x + 2], r1[x + 2], r2[x + 2]), threshold);
        const uint16_t gy = CutDifference(WeightedSum(r0[x], r0[x + 1], r0[x + 2]),
                                          WeightedSum(r2[x], r2[x + 1], r2[x + 2]), threshold);
        gradX[x] = static_cast<uint8_t>(gx);
        gradY[x] = static_cast<uint8_t>(gy);
        gradMean[x] = static_cast<uint8_t>((gx + gy + 1) >> 1);
    }
}

void Gradients(const int16_t* low, uint8_t* planes, int width, int height, int64_t stride, uint16_t threshold) {
    if (width < 1 || height < 1) return;
    const int64_t planeSize = int64_t{width} * height;
    for (int plane = 0; plane < 3; ++plane) {
        uint8_t* out = planes + plane * planeSize;
        memset(out, 0, width);
        for (int64_t y = 1; y < height; ++y) out[y * width] = out[y * width - 1] = 0;
        memset(out + planeSize - width, 0, width);
    }
    for (int64_t y = 1; y < height - 1; ++y) {
        const int16_t* above = low + (y - 1) * stride;
        uint8_t* out = planes + y * width + 1;
        GradientRow(above, above + stride, above + 2 * stride, width - 2, threshold, out, out + planeSize,
                    out + 2 * planeSize);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(Gradients);

void GradientPlanes(const int16_t* pLow, uint8_t* pPlanes, int width, int height, int stride, int threshold) {
    HWY_DYNAMIC_DISPATCH(Gradients)
    (pLow, pPlanes, width, height, stride, static_cast<uint16_t>(std::clamp(threshold, 0, 256)));
}

}  // namespace eis
#endif
