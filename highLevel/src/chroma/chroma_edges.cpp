#include "highLevel/src/chroma/chroma_edges.h"

#include <cstdlib>

#include "bounded/bounded_memory.h"
#include "libCore/core/source/frame/second_sweep.h"

#define HWY_TARGET_INCLUDE "highLevel/src/chroma/chroma_edges.cpp"
#include "libCore/core/source/frame/vector_unit.h"

#include "libCore/core/source/frame/vector_ops-inl.h"

EIS_BEFORE_TARGET();

using D8 = HWY_CAPPED(uint8_t, 32);
using V8 = hn::Vec<D8>;

HWY_INLINE uint8_t Saturate(int value) {
    return static_cast<uint8_t>(value < 255 ? value : 255);
}

void MagnitudeRow(const uint8_t* HWY_RESTRICT u, const uint8_t* HWY_RESTRICT v, uint8_t* HWY_RESTRICT out, int width) {
    const D8 d;
    const V8 grey = hn::Set(d, 128);
    FillRow(
        d, width, out,
        [&](int x) HWY_ATTR {
            const V8 sum = hn::SaturatedAdd(Distance(hn::LoadU(d, u + x), grey), Distance(hn::LoadU(d, v + x), grey));
            return hn::SaturatedAdd(sum, hn::Set(d, 64));
        },
        [&](int x) { return Saturate(std::abs(u[x] - 128) + std::abs(v[x] - 128) + 64); });
}

// Both gradients take the differences of the two diagonals: their sum is that of the rows, their difference that of the
// columns. All stay within 1020 in size.
HWY_INLINE V8 SobelVector(const uint8_t* r0, const uint8_t* r1, const uint8_t* r2) {
    const hn::Repartition<int16_t, D8> d16;
    const auto at = [](const uint8_t* row) HWY_ATTR { return hn::LoadU(D8(), row); };
    const auto falling = Differences(at(r2 + 2), at(r0));
    const auto rising = Differences(at(r2), at(r0 + 2));
    const auto along = Differences(at(r1 + 2), at(r1));
    const auto down = Differences(at(r2 + 1), at(r0 + 1));
    const auto size = [&](auto fall, auto rise, auto x, auto y) HWY_ATTR {
        const auto gx = hn::Add(hn::Sub(fall, rise), hn::Add(x, x));
        const auto gy = hn::Add(hn::Add(fall, rise), hn::Add(y, y));
        const auto sum = hn::Min(hn::Add(hn::Abs(gx), hn::Abs(gy)), hn::Set(d16, 255));
        return hn::BitCast(hn::RebindToUnsigned<decltype(d16)>(), sum);
    };
    return JoinBytes(WordPair{size(falling.a, rising.a, along.a, down.a), size(falling.b, rising.b, along.b, down.b)});
}

void SobelRow(const uint8_t* HWY_RESTRICT r0, const uint8_t* HWY_RESTRICT r1, const uint8_t* HWY_RESTRICT r2,
              uint8_t* HWY_RESTRICT out, int columns) {
    FillRow(
        D8(), columns, out, [&](int x) HWY_ATTR { return SobelVector(r0 + x, r1 + x, r2 + x); },
        [&](int x) {
            const int gx = r0[x] + 2 * r1[x] + r2[x] - r0[x + 2] - 2 * r1[x + 2] - r2[x + 2];
            const int gy = r0[x] + 2 * r0[x + 1] + r0[x + 2] - r2[x] - 2 * r2[x + 1] - r2[x + 2];
            return Saturate(std::abs(gx) + std::abs(gy));
        });
}

void SatAddRow(uint8_t* dst, const uint8_t* HWY_RESTRICT add, int count) {
    const D8 d;
    ChangeRow(
        d, count, dst, [&](int x) HWY_ATTR { return hn::SaturatedAdd(hn::LoadU(d, dst + x), hn::LoadU(d, add + x)); },
        [&](int x) { return Saturate(dst[x] + add[x]); });
}

void Magnitude(const uint8_t* u, const uint8_t* v, uint8_t* out, int width, int height, int64_t stride) {
    for (int y = 0; y < height; ++y) MagnitudeRow(u + y * stride, v + y * stride, out + y * stride, width);
}

void Sobel(const uint8_t* src, uint8_t* dst, int width, int height, int64_t srcStride, int64_t dstStride) {
    for (int y = 1; y < height - 1; ++y) {
        const uint8_t* above = src + (y - 1) * srcStride;
        uint8_t* out = dst + y * dstStride;
        SobelRow(above, above + srcStride, above + 2 * srcStride, out + 1, width - 2);
        out[0] = 0;
        out[width - 1] = 0;
    }
}

void SatAdd(uint8_t* dst, const uint8_t* add, int width, int height) {
    for (int y = 0; y < height; ++y) {
        const int64_t row = int64_t{y} * width;
        sweepRow<16>(width, [&](int first, int count) { SatAddRow(dst + row + first, add + row + first, count); });
    }
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(Magnitude);
HWY_EXPORT(Sobel);
HWY_EXPORT(SatAdd);

void ChromaMagnitude(const uint8_t* pU, const uint8_t* pV, uint8_t* pOut, int width, int height, int stride) {
    HWY_DYNAMIC_DISPATCH(Magnitude)(pU, pV, pOut, width, height, stride);
}

void SobelMagnitude(const uint8_t* pSrc, uint8_t* pDst, int width, int height, int srcStride, int dstStride) {
    if (width < 1 || height < 1) return;
    const auto rowBytes = static_cast<size_t>(width);
    memset_s(pDst, rowBytes, 0, rowBytes);
    memset_s(pDst + int64_t{height - 1} * dstStride, rowBytes, 0, rowBytes);
    HWY_DYNAMIC_DISPATCH(Sobel)(pSrc, pDst, width, height, srcStride, dstStride);
}

void SatAddPlane(uint8_t* pDst, const uint8_t* pAdd, int width, int height) {
    HWY_DYNAMIC_DISPATCH(SatAdd)(pDst, pAdd, width, height);
}

}  // namespace eis
#endif
