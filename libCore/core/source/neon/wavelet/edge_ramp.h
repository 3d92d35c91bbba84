// How much of a threshold an edge takes away, and a motion mask gives back.
#pragma once

#include <algorithm>
#include <cstdint>

#include "include/st_wavelet.h"
#include "libCore/core/source/frame/arithmetic.h"

namespace eis {

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

}  // namespace eis
