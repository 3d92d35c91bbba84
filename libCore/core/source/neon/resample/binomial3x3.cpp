#include "libCore/core/source/neon/resample/binomial3x3.h"

#include "libCore/core/source/frame/plane_view.h"

#define HWY_TARGET_INCLUDE "libCore/core/source/neon/resample/binomial3x3.cpp"
#include "libCore/core/source/frame/vector_unit.h"

#include "libCore/core/source/frame/vector_ops-inl.h"

EIS_BEFORE_TARGET();

HWY_INLINE uint8_t Halve(uint8_t a, uint8_t b) {
    return static_cast<uint8_t>((a + b + 1) >> 1);
}

// Halfway from b to the middle of a and c.
void HalveTwice(const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* HWY_RESTRICT out, int count) {
    const HWY_CAPPED(uint8_t, 32) d;
    FillRow(
        d, count, out,
        [&](int x) HWY_ATTR {
            return hn::AverageRound(hn::AverageRound(hn::LoadU(d, a + x), hn::LoadU(d, c + x)), hn::LoadU(d, b + x));
        },
        [&](int x) { return Halve(Halve(a[x], c[x]), b[x]); });
}

void BinomialColumns(const uint8_t* HWY_RESTRICT in, uint8_t* HWY_RESTRICT out, int width) {
    HalveTwice(in, in + 1, in + 2, out + 1, width - 2);
    out[0] = static_cast<uint8_t>((3 * in[0] + in[width > 1 ? 1 : 0]) >> 2);
    if (width > 1) out[width - 1] = static_cast<uint8_t>((in[width - 2] + 3 * in[width - 1]) >> 2);
}

void Binomial(const uint8_t* src, int64_t srcStride, const PlaneView& to, uint8_t* tmp, int64_t tmpStride) {
    if (to.width < 1) return;
    for (int y = 0; y < to.height; ++y) BinomialColumns(src + y * srcStride, tmp + y * tmpStride, to.width);
    for (int y = 0; y < to.height; ++y) {
        const uint8_t* here = tmp + y * tmpStride;
        const uint8_t* above = y == 0 ? here : here - tmpStride;
        const uint8_t* below = y == to.height - 1 ? here : here + tmpStride;
        HalveTwice(above, here, below, to.data + int64_t{y} * to.pitch, to.width);
    }
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(Binomial);

// NOLINTNEXTLINE(readability-function-size): a signature of the system
void Binomial3x3(const uint8_t* pSrc, uint8_t* pDst, uint8_t* pTmp, int width, int height, int srcStride, int dstStride,
                 int tmpStride) {
    HWY_DYNAMIC_DISPATCH(Binomial)(pSrc, srcStride, {pDst, dstStride, width, height}, pTmp, tmpStride);
}

}  // namespace eis
#endif
