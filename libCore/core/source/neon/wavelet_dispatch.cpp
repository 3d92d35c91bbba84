#include "libCore/core/source/neon/wavelet_dispatch.h"

#include <utility>

#include "highLevel/src/q7_convert.h"
#include "libCore/core/source/neon/wavelet_smooth.h"

namespace eis {

namespace {

// One form of the kernels that a body is made of.
struct WaveletKernels {
    decltype(&WaveletSmooth_neon) smooth;
    decltype(&WaveletShrinkLevel_neon) shrink;
    decltype(&WaveletAddPlane_neon) add;
    decltype(&NarrowQ7Round) narrow;
};
constexpr WaveletKernels kNeon{WaveletSmooth_neon, WaveletShrinkLevel_neon, WaveletAddPlane_neon, NarrowQ7Round};
constexpr WaveletKernels kPlain{WaveletSmooth_plain, WaveletShrinkLevel_plain, WaveletAddPlane_plain,
                                NarrowQ7Round_plain};

constexpr int kLevels = 5;

void transform(const ST_WAVELET_DN_PARAMS& params, int pass, const WaveletKernels& kernels) {
    const int width = params.width;
    const int height = params.height;
    const int64_t plane = int64_t{width} * height;
    const int16_t* high = params.pSamples;
    int highStride = params.sampleStride;
    int16_t* low = params.pWork + plane;
    int16_t* other = params.pWork + 2 * plane;
    for (int level = 1; level <= kLevels; ++level) {
        ST_WAVELET_LEVEL_PARAMS smooth{high,  highStride, low,    width,           params.pWork,
                                       width, width,      height, 1 << (level - 1)};
        kernels.smooth(&smooth);
        kernels.shrink(params, pass, level, high, low);
        if (level == 2) kernels.narrow(low, params.pFirstLevel + (pass - 1) * plane, width, height);
        high = low;
        highStride = width;
        std::swap(low, other);
    }
    kernels.add(params, high);
}

}  // namespace

void WaveletDenoise_MaskMap_neon(ST_WAVELET_DN_PARAMS params) {
    WaveletMaskMap_neon(params);
    transform(params, 1, kNeon);
}

void WaveletDenoise_MaskMap_plain(ST_WAVELET_DN_PARAMS params) {
    WaveletMaskMap_plain(params);
    transform(params, 1, kPlain);
}

void WaveletDenoise_MotionMap_neon(ST_WAVELET_DN_PARAMS params) {
    WaveletMotionMap_neon(params);
    transform(params, 1, kNeon);
}

void WaveletDenoise_MotionMap_plain(ST_WAVELET_DN_PARAMS params) {
    WaveletMotionMap_plain(params);
    transform(params, 1, kPlain);
}

void WaveletDenoise_ReuseMap_neon(ST_WAVELET_DN_PARAMS params) {
    transform(params, 2, kNeon);
}

void WaveletDenoise_ReuseMap_plain(ST_WAVELET_DN_PARAMS params) {
    transform(params, 2, kPlain);
}

void WaveletDenoiseDispatch_Mask(ST_WAVELET_DN_PARAMS params, int pass) {
    if (pass == 1) WaveletDenoise_MaskMap_neon(params);
    if (pass == 2) WaveletDenoise_ReuseMap_neon(params);
}

void WaveletDenoiseDispatch_Mask_plain(ST_WAVELET_DN_PARAMS params, int pass) {
    if (pass == 1) WaveletDenoise_MaskMap_plain(params);
    if (pass == 2) WaveletDenoise_ReuseMap_plain(params);
}

void WaveletDenoiseDispatch_Ghost(ST_WAVELET_DN_PARAMS params, int pass) {
    if (pass == 1) WaveletDenoise_MotionMap_neon(params);
    if (pass == 2) WaveletDenoise_ReuseMap_neon(params);
}

void WaveletDenoiseDispatch_Ghost_plain(ST_WAVELET_DN_PARAMS params, int pass) {
    if (pass == 1) WaveletDenoise_MotionMap_plain(params);
    if (pass == 2) WaveletDenoise_ReuseMap_plain(params);
}

}  // namespace eis
