#include "libCore/core/source/neon/wavelet/wavelet_dispatch.h"

#include "libCore/core/source/neon/wavelet/wavelet_sweep.h"

namespace eis {

void WaveletDenoise_MaskMap_neon(ST_WAVELET_DN_PARAMS params) {
    WaveletMaskMap_neon(params);
    WaveletTransform_neon(params, 1);
}

void WaveletDenoise_MaskMap_plain(ST_WAVELET_DN_PARAMS params) {
    WaveletMaskMap_plain(params);
    WaveletTransform_plain(params, 1);
}

void WaveletDenoise_MotionMap_neon(ST_WAVELET_DN_PARAMS params) {
    WaveletMotionMap_neon(params);
    WaveletTransform_neon(params, 1);
}

void WaveletDenoise_MotionMap_plain(ST_WAVELET_DN_PARAMS params) {
    WaveletMotionMap_plain(params);
    WaveletTransform_plain(params, 1);
}

void WaveletDenoise_ReuseMap_neon(ST_WAVELET_DN_PARAMS params) {
    WaveletTransform_neon(params, 2);
}

void WaveletDenoise_ReuseMap_plain(ST_WAVELET_DN_PARAMS params) {
    WaveletTransform_plain(params, 2);
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
