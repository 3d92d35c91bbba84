#include "libCore/core/source/neon/wavelet_smooth.h"

#include "libCore/core/source/neon/wavelet_mirror.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "libCore/core/source/neon/wavelet_smooth.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

// (a + b + 1) >> 1 in 16 bits: what both share, plus half of what they do not, rounded up.
HWY_INLINE int16_t Halve(int16_t a, int16_t b) {
    return static_cast<int16_t>((a | b) - (static_cast<int16_t>(a ^ b) >> 1));
}

HWY_INLINE int16_t Single(int16_t a, int16_t b, int16_t c) {
    return static_cast<int16_t>((a + 2 * int32_t{b} + c + 2) >> 2);
}

void PairedRow(const int16_t* HWY_RESTRICT a, const int16_t* HWY_RESTRICT b, const int16_t* HWY_RESTRICT c,
               int16_t* HWY_RESTRICT out, int count) {
    for (int x = 0; x < count; ++x) out[x] = Halve(Halve(a[x], c[x]), b[x]);
}

void SingleRow(const int16_t* HWY_RESTRICT a, const int16_t* HWY_RESTRICT b, const int16_t* HWY_RESTRICT c,
               int16_t* HWY_RESTRICT out, int count) {
    for (int x = 0; x < count; ++x) out[x] = Single(a[x], b[x], c[x]);
}

// The last row at step 2, where both taps fall on one row.
void TruncatedRow(const int16_t* HWY_RESTRICT a, const int16_t* HWY_RESTRICT b, int16_t* HWY_RESTRICT out, int count) {
    for (int x = 0; x < count; ++x) out[x] = static_cast<int16_t>((a[x] + b[x]) >> 1);
}

void SingleColumns(const int16_t* in, int16_t* out, int first, int end, int width, int step) {
    for (int x = first; x < end; ++x) {
        out[x] = Single(in[mirrorIndex(x - step, width)], in[x], in[mirrorIndex(x + step, width)]);
    }
}

void HorizontalRow(const int16_t* in, int16_t* out, int width, int step, bool innerPaired) {
    const int inner = width - 2 * step;
    if (inner <= 0) {
        SingleColumns(in, out, 0, width, width, step);
    } else {
        const auto row = innerPaired ? PairedRow : SingleRow;
        SingleColumns(in, out, 0, step, width, step);
        row(in, in + step, in + 2 * step, out + step, inner);
        SingleColumns(in, out, width - step, width, width, step);
    }
    if (step == 4 && width >= 8) out[width - 3] = static_cast<int16_t>((in[width - 7] + in[width - 3] + 1) >> 1);
}

void Smooth(const ST_WAVELET_LEVEL_PARAMS& p) {
    const int step = p.step;
    for (int y = 0; y < p.height; ++y) {
        HorizontalRow(p.pSrc + int64_t{y} * p.srcStride, p.pTmp + int64_t{y} * p.tmpStride, p.width, step,
                      step > 2 || y < p.height - 1);
    }
    for (int y = 0; y < p.height; ++y) {
        const int16_t* above = p.pTmp + int64_t{mirrorIndex(y - step, p.height)} * p.tmpStride;
        const int16_t* here = p.pTmp + int64_t{y} * p.tmpStride;
        const int16_t* below = p.pTmp + int64_t{mirrorIndex(y + step, p.height)} * p.tmpStride;
        int16_t* out = p.pDst + int64_t{y} * p.dstStride;
        if (step == 2 && y == p.height - 1) {
            TruncatedRow(above, here, out, p.width);
        } else if (y >= step && y < p.height - step) {
            PairedRow(above, here, below, out, p.width);
        } else {
            SingleRow(above, here, below, out, p.width);
        }
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(Smooth);

void WaveletSmooth_neon(ST_WAVELET_LEVEL_PARAMS* params) {
    if (isWaveletStep(params->step)) HWY_DYNAMIC_DISPATCH(Smooth)(*params);
}

}  // namespace eis
#endif
