#include "libCore/core/source/neon/wavelet/edge_ramp.h"
#include "libCore/core/source/neon/wavelet/threshold_map.h"

namespace eis {

namespace {

uint16_t maskMapSample(uint8_t edge, const EdgeRamp& ramp) {
    return static_cast<uint16_t>(4096 - ramp.step * edgeStrength(edge, ramp));
}

uint16_t motionMapBlock(uint8_t edge, uint8_t mask, int levelShift, const EdgeRamp& ramp) {
    const uint32_t step = (ramp.step - motionRelief(mask, levelShift, ramp)) & 0xffff;
    return static_cast<uint16_t>(4096 - step * edgeStrength(edge, ramp));
}

}  // namespace

void WaveletMaskMap_plain(const ST_WAVELET_DN_PARAMS& params) {
    const EdgeRamp ramp = edgeRampOf(params);
    const int64_t samples = int64_t{params.width} * params.height;
    for (int64_t i = 0; i < samples; ++i) params.pThresholds[i] = maskMapSample(params.pEdgeMap[i], ramp);
}

void WaveletMotionMap_plain(const ST_WAVELET_DN_PARAMS& params) {
    const EdgeRamp ramp = edgeRampOf(params);
    const int64_t samples = int64_t{params.width} * params.height;
    for (int64_t i = 0; i < samples; ++i) {
        const auto form = i % params.width < waveletBlockColumns(params.width) ? motionMapBlock : motionMapTail;
        params.pThresholds[i] = form(params.pEdgeMap[i], params.pMaskQuarter[i], params.levelShift, ramp);
    }
}

}  // namespace eis
