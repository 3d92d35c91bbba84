#include <algorithm>

#include "libCore/core/source/neon/wavelet/shrink_curve.h"
#include "libCore/core/source/neon/wavelet/wavelet_shrink.h"

namespace eis {

namespace {

uint16_t maskMapSample(uint8_t edge, const EdgeRamp& ramp) {
    return static_cast<uint16_t>(4096 - ramp.step * edgeStrength(edge, ramp));
}

uint16_t motionMapBlock(uint8_t edge, uint8_t mask, int levelShift, const EdgeRamp& ramp) {
    const uint32_t step = (ramp.step - motionRelief(mask, levelShift, ramp)) & 0xffff;
    return static_cast<uint16_t>(4096 - step * edgeStrength(edge, ramp));
}

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

void WaveletMaskMap_plain(const ST_WAVELET_DN_PARAMS& params) {
    const EdgeRamp ramp = edgeRampOf(params);
    forEachSample(params, [&](int64_t i, int64_t /*sample*/, bool /*block*/) {
        params.pThresholds[i] = maskMapSample(params.pEdgeMap[i], ramp);
    });
}

void WaveletMotionMap_plain(const ST_WAVELET_DN_PARAMS& params) {
    const EdgeRamp ramp = edgeRampOf(params);
    forEachSample(params, [&](int64_t i, int64_t /*sample*/, bool block) {
        const auto form = block ? motionMapBlock : motionMapTail;
        params.pThresholds[i] = form(params.pEdgeMap[i], params.pMaskQuarter[i], params.levelShift, ramp);
    });
}

void WaveletShrinkLevel_plain(const ST_WAVELET_DN_PARAMS& params, int pass, int level, const int16_t* high,
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

void WaveletAddPlane_plain(const ST_WAVELET_DN_PARAMS& params, const int16_t* plane) {
    forEachSample(params, [&](int64_t i, int64_t sample, bool /*block*/) {
        params.pSamples[sample] = static_cast<int16_t>(params.pSamples[sample] + plane[i]);
    });
}

}  // namespace eis
