#include "libCore/core/source/neon/wavelet/wavelet_transform.h"

#include <algorithm>
#include <utility>

#include "libCore/core/source/neon/wavelet/q7_convert.h"
#include "libCore/core/source/neon/wavelet/shrink_curve.h"
#include "libCore/core/source/neon/wavelet/threshold_map.h"
#include "libCore/core/source/neon/wavelet/wavelet_smooth.h"

namespace eis {

namespace {

int16_t shrinkBlock(int16_t high, int16_t low, uint16_t map, const ShrinkCurve& curve) {
    const auto d = static_cast<int16_t>(high - low);
    auto threshold = static_cast<uint16_t>((map * shrinkGain(curve, low) + 8192) >> 14);
    if (curve.first) {
        if (-curve.floor < d && d < curve.floor) return d;
        threshold = std::max(threshold, static_cast<uint16_t>(curve.floor));
    }
    const auto soft = static_cast<int32_t>(std::min<int64_t>((int64_t{threshold} * curve.slope + 16384) >> 15, 65535));
    const auto above = static_cast<int16_t>(threshold);
    const auto below = static_cast<int16_t>(-above);
    if (d > above) return static_cast<int16_t>(d - soft);
    if (d < below) return static_cast<int16_t>(d + soft);
    return keptNoise(d, curve);
}

template <class Sample>
void forEachSample(const ST_WAVELET_DN_PARAMS& params, Sample sample) {
    const int block = waveletBlockColumns(params.width);
    for (int y = 0; y < params.height; ++y) {
        for (int x = 0; x < params.width; ++x) {
            sample(int64_t{y} * params.width + x, int64_t{y} * params.sampleStride + x, x < block);
        }
    }
}

}  // namespace

void WaveletShrinkLevel(const ST_WAVELET_DN_PARAMS& params, int pass, int level, const int16_t* high,
                        const int16_t* low) {
    const ShrinkCurve curve = shrinkCurveOf(params, pass, level);
    forEachSample(params, [&](int64_t i, int64_t sample, bool block) {
        const auto form = block ? shrinkBlock : shrinkTail;
        int16_t& out = params.pSamples[sample];
        if (level == 1) {
            out = form(out, low[i], params.pThresholds[i], curve);
        } else {
            out = static_cast<int16_t>(out + form(high[i], low[i], params.pThresholds[i], curve));
        }
    });
}

void WaveletTransform(const ST_WAVELET_DN_PARAMS& params, int pass) {
    const int width = params.width;
    const int height = params.height;
    const int64_t plane = int64_t{width} * height;
    const int16_t* high = params.pSamples;
    int highStride = params.sampleStride;
    int16_t* low = params.pWork + plane;
    int16_t* other = params.pWork + 2 * plane;
    for (int level = 1; level <= kWaveletLevels; ++level) {
        ST_WAVELET_LEVEL_PARAMS smooth{high,  highStride, low,    width,           params.pWork,
                                       width, width,      height, 1 << (level - 1)};
        WaveletSmooth_neon(&smooth);
        WaveletShrinkLevel(params, pass, level, high, low);
        if (level == 2) NarrowQ7Round_plain(low, params.pFirstLevel + (pass - 1) * plane, width, height);
        high = low;
        highStride = width;
        std::swap(low, other);
    }
    forEachSample(params, [&](int64_t i, int64_t sample, bool /*block*/) {
        params.pSamples[sample] = static_cast<int16_t>(params.pSamples[sample] + high[i]);
    });
}

void WaveletDenoise_MaskMap_neon(ST_WAVELET_DN_PARAMS params) {
    WaveletMaskMap(params);
    WaveletTransform(params, 1);
}

void WaveletDenoise_MotionMap_neon(ST_WAVELET_DN_PARAMS params) {
    WaveletMotionMap(params);
    WaveletTransform(params, 1);
}

void WaveletDenoise_ReuseMap_neon(ST_WAVELET_DN_PARAMS params) {
    WaveletTransform(params, 2);
}

void WaveletDenoiseDispatch_Mask(ST_WAVELET_DN_PARAMS params, int pass) {
    if (pass == 1) WaveletDenoise_MaskMap_neon(params);
    if (pass == 2) WaveletDenoise_ReuseMap_neon(params);
}

void WaveletDenoiseDispatch_Ghost(ST_WAVELET_DN_PARAMS params, int pass) {
    if (pass == 1) WaveletDenoise_MotionMap_neon(params);
    if (pass == 2) WaveletDenoise_ReuseMap_neon(params);
}

}  // namespace eis
