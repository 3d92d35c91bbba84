// What the shrinkage of a level's details takes from the record, and its formula in the tail columns.
#pragma once

#include <algorithm>
#include <cstdint>

#include "include/st_wavelet.h"
#include "libCore/core/source/frame/wire.h"

namespace eis {

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
