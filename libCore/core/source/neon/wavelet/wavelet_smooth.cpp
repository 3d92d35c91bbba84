#include "libCore/core/source/neon/wavelet/wavelet_smooth.h"

#include "libCore/core/source/neon/wavelet/wavelet_mirror.h"

namespace eis {

namespace {

int32_t singleForm(int32_t a, int32_t b, int32_t c) {
    return (a + 2 * b + c + 2) >> 2;
}

int32_t pairedForm(int32_t a, int32_t b, int32_t c) {
    const int32_t half = (a + c + 1) >> 1;
    return (half + b + 1) >> 1;
}

bool isInner(int i, int n, int step) {
    return i >= step && i < n - step;
}

int16_t horizontalSample(const int16_t* in, int x, int width, int step, bool lastRow) {
    if (step == 4 && width >= 8 && x == width - 3) {
        return static_cast<int16_t>((in[width - 7] + in[width - 3] + 1) >> 1);
    }
    const int32_t a = in[mirrorIndex(x - step, width)];
    const int32_t c = in[mirrorIndex(x + step, width)];
    const bool paired = isInner(x, width, step) && !(lastRow && step <= 2);
    return static_cast<int16_t>(paired ? pairedForm(a, in[x], c) : singleForm(a, in[x], c));
}

}  // namespace

void WaveletSmooth_neon(ST_WAVELET_LEVEL_PARAMS* params) {
    const ST_WAVELET_LEVEL_PARAMS& p = *params;
    if (p.step < 1 || p.step > 16 || (p.step & (p.step - 1)) != 0) return;
    for (int y = 0; y < p.height; ++y) {
        const int16_t* in = p.pSrc + int64_t{y} * p.srcStride;
        for (int x = 0; x < p.width; ++x) {
            p.pTmp[int64_t{y} * p.tmpStride + x] = horizontalSample(in, x, p.width, p.step, y == p.height - 1);
        }
    }
    for (int y = 0; y < p.height; ++y) {
        for (int x = 0; x < p.width; ++x) {
            const auto in = [&](int row) { return int32_t{p.pTmp[int64_t{row} * p.tmpStride + x]}; };
            const int32_t a = in(mirrorIndex(y - p.step, p.height));
            const int32_t b = in(y);
            const int32_t c = in(mirrorIndex(y + p.step, p.height));
            int32_t value = isInner(y, p.height, p.step) ? pairedForm(a, b, c) : singleForm(a, b, c);
            if (p.step == 2 && y == p.height - 1) value = (b + a) >> 1;
            p.pDst[int64_t{y} * p.dstStride + x] = static_cast<int16_t>(value);
        }
    }
}

}  // namespace eis
