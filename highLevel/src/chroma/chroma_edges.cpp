#include "highLevel/src/chroma/chroma_edges.h"

#include "bounded/bounded_memory.h"
#include "libCore/core/source/frame/second_sweep.h"

#define HWY_TARGET_INCLUDE "highLevel/src/chroma/chroma_edges.cpp"
#include "libCore/core/source/frame/vector_unit.h"

EIS_BEFORE_TARGET();

// The larger one first, so that nothing leaves 8 bits.
HWY_INLINE uint8_t Distance(uint8_t a, uint8_t b) {
    return static_cast<uint8_t>(a > b ? a - b : b - a);
}

HWY_INLINE uint16_t Distance16(uint16_t a, uint16_t b) {
    return static_cast<uint16_t>(a > b ? a - b : b - a);
}

HWY_INLINE uint8_t Saturate(uint16_t value) {
    return static_cast<uint8_t>(value < 255 ? value : 255);
}

void MagnitudeRow(const uint8_t* HWY_RESTRICT u, const uint8_t* HWY_RESTRICT v, uint8_t* HWY_RESTRICT out, int width) {
    for (int x = 0; x < width; ++x) {
        out[x] = Saturate(static_cast<uint16_t>(Distance(u[x], 128) + Distance(v[x], 128) + 64));
    }
}

void SobelRow(const uint8_t* HWY_RESTRICT r0, const uint8_t* HWY_RESTRICT r1, const uint8_t* HWY_RESTRICT r2,
              uint8_t* HWY_RESTRICT out, int columns) {
    for (int x = 0; x < columns; ++x) {
        const auto left = static_cast<uint16_t>(r0[x] + 2 * r1[x] + r2[x]);
        const auto right = static_cast<uint16_t>(r0[x + 2] + 2 * r1[x + 2] + r2[x + 2]);
        const auto top = static_cast<uint16_t>(r0[x] + 2 * r0[x + 1] + r0[x + 2]);
        const auto bottom = static_cast<uint16_t>(r2[x] + 2 * r2[x + 1] + r2[x + 2]);
        out[x] = Saturate(static_cast<uint16_t>(Distance16(left, right) + Distance16(top, bottom)));
    }
}

void SatAddRow(uint8_t* HWY_RESTRICT dst, const uint8_t* HWY_RESTRICT add, int count) {
    for (int x = 0; x < count; ++x) dst[x] = Saturate(static_cast<uint16_t>(dst[x] + add[x]));
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
