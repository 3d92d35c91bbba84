// The formulas of the wavelet denoiser's tail columns, and what they share with the block columns.
#pragma once

#include <algorithm>
#include <cstdint>

#include "libCore/core/source/frame/arithmetic.h"
#include "libCore/core/source/frame/wire.h"
#include "libCore/core/source/neon/wavelet/wavelet_shrink.h"

namespace eis {

inline int waveletBlockColumns(int width) {
    return width & ~7;
}

// The ramp on the edge map, and how much a step of edge strength takes off a threshold.
struct EdgeRamp {
    int low;
    int range;
    uint16_t step;
};

inline EdgeRamp edgeRampOf(const ST_WAVELET_DN_PARAMS& params) {
    const int range = (params.edgeHigh - params.edgeLow) & 255;
    const int step = range == 0 ? 0 : wrapSub(4096, params.chromaThrBase) / range;
    return {params.edgeLow, range, static_cast<uint16_t>(step)};
}

inline int edgeStrength(uint8_t edge, const EdgeRamp& ramp) {
    return std::clamp(edge - ramp.low, 0, ramp.range);
}

inline int motionMaskTop(int levelShift) {
    return ((1 << levelShift) - 1) & 255;
}

// The part of the edge step that a motion mask below its top takes away.
inline uint32_t motionRelief(uint8_t mask, int levelShift, const EdgeRamp& ramp) {
    const auto gap = static_cast<uint32_t>(std::max(motionMaskTop(levelShift) - mask, 0));
    return ((ramp.step >> 1) * gap + (1u << (levelShift - 1))) >> levelShift;
}

inline uint16_t motionMapTail(uint8_t edge, uint8_t mask, int levelShift, const EdgeRamp& ramp) {
    const int64_t step = int64_t{motionRelief(mask, levelShift, ramp)} - ramp.step;
    const int64_t factor = std::max(levelShift - (mask >> 4), 1);
    return static_cast<uint16_t>(std::clamp<int64_t>((4096 + step * edgeStrength(edge, ramp)) * factor, 0, 65535));
}

// What a level's shrinkage takes from the record.
struct ShrinkCurve {
    uint32_t gains[4];  // satGain times the table's word, modulo 2^32, by brightness class
    int32_t slope;      // Q15: what the noise band does not keep
    int32_t keep;       // Q15: what it keeps
    int32_t floor;
    bool first;  // level 1
};

inline ShrinkCurve shrinkCurveOf(const ST_WAVELET_DN_PARAMS& params, int pass, int level) {
    ShrinkCurve curve{{}, 32768 - params.shrinkHigh, params.shrinkHigh, params.shrinkLow, level == 1};
    for (int bin = 0; bin < 4; ++bin) {
        const uint32_t word = loadWord(params.pChromaLut, 20 * (pass - 1) + 4 * (level - 1) + bin);
        curve.gains[bin] = params.satGain * word;
    }
    return curve;
}

inline uint32_t shrinkGain(const ShrinkCurve& curve, int16_t low) {
    return curve.gains[std::clamp(low >> 13, 0, 3)];
}

// A detail inside the noise band.
inline int16_t keptNoise(int16_t d, const ShrinkCurve& curve) {
    return static_cast<int16_t>(std::clamp((d * curve.keep + 16384) >> 15, -32768, 32767));
}

// Signed throughout, with a rounding term of its own, and the floor itself still kept.
inline int16_t shrinkTail(int16_t high, int16_t low, uint16_t map, const ShrinkCurve& curve) {
    const auto d = static_cast<int16_t>(high - low);
    auto threshold = static_cast<int16_t>((map * shrinkGain(curve, low) + 0x10000) >> 14);
    if (curve.first) {
        if (-curve.floor <= d && d <= curve.floor) return d;
        threshold = std::max(threshold, static_cast<int16_t>(curve.floor));
    }
    const int32_t soft = (threshold * curve.slope + 16384) >> 15;
    if (d > threshold) return static_cast<int16_t>(d - soft);
    if (d < -threshold) return static_cast<int16_t>(d + soft);
    return keptNoise(d, curve);
}

}  // namespace eis
