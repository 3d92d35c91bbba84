#include "libCore/core/source/neon/wavelet/wavelet_smooth.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "libCore/core/source/neon/wavelet/wavelet_smooth.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "libCore/core/source/neon/wavelet/wavelet_rows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

void Smooth(const ST_WAVELET_LEVEL_PARAMS& p) {
    const auto tmpRow = [&](int y) { return p.pTmp + int64_t{y} * p.tmpStride; };
    for (int y = 0; y < p.height; ++y) {
        HorizontalRow<false>(p.pSrc + int64_t{y} * p.srcStride, tmpRow(y), p.width, p.step, y == p.height - 1);
    }
    for (int y = 0; y < p.height; ++y) {
        VerticalRow<false>(tmpRow, p.pDst + int64_t{y} * p.dstStride, p.width, y, p.height, p.step);
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
