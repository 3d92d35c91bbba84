#include "libCore/core/source/neon/wavelet/threshold_map.h"

#include "libCore/core/source/neon/wavelet/edge_ramp.h"

#define HWY_TARGET_INCLUDE "libCore/core/source/neon/wavelet/threshold_map.cpp"
#include "libCore/core/source/frame/vector_unit.h"

EIS_BEFORE_TARGET();

HWY_INLINE uint16_t Strength(uint8_t edge, uint16_t low, uint16_t range) {
    const auto above = static_cast<uint16_t>(edge > low ? edge - low : 0);
    return above < range ? above : range;
}

void MaskMapRow(const uint8_t* HWY_RESTRICT edges, uint16_t* HWY_RESTRICT map, int count, const EdgeRamp& ramp) {
    const auto low = static_cast<uint16_t>(ramp.low);
    const auto range = static_cast<uint16_t>(ramp.range);
    const uint16_t step = ramp.step;
    for (int x = 0; x < count; ++x) {
        map[x] = static_cast<uint16_t>(4096 - uint32_t{step} * Strength(edges[x], low, range));
    }
}

void MotionMapRow(const uint8_t* HWY_RESTRICT edges, const uint8_t* HWY_RESTRICT mask, uint16_t* HWY_RESTRICT map,
                  int count, int levelShift, const EdgeRamp& ramp) {
    const auto low = static_cast<uint16_t>(ramp.low);
    const auto range = static_cast<uint16_t>(ramp.range);
    const uint32_t step = ramp.step;
    const uint32_t half = step >> 1;
    const uint32_t round = 1u << (levelShift - 1);
    const auto top = static_cast<uint8_t>(motionMaskTop(levelShift));
    for (int x = 0; x < count; ++x) {
        const uint32_t gap = mask[x] < top ? top - mask[x] : 0;
        const uint32_t relief = (half * gap + round) >> levelShift;
        map[x] = static_cast<uint16_t>(4096 - (step - relief) * Strength(edges[x], low, range));
    }
}

void MaskMap(const ST_WAVELET_DN_PARAMS& params) {
    const EdgeRamp ramp = edgeRampOf(params);
    for (int y = 0; y < params.height; ++y) {
        const int64_t row = int64_t{y} * params.width;
        MaskMapRow(params.pEdgeMap + row, params.pThresholds + row, params.width, ramp);
    }
}

void MotionMap(const ST_WAVELET_DN_PARAMS& params) {
    const EdgeRamp ramp = edgeRampOf(params);
    const int block = waveletBlockColumns(params.width);
    for (int y = 0; y < params.height; ++y) {
        const uint8_t* edges = params.pEdgeMap + int64_t{y} * params.width;
        const uint8_t* mask = params.pMaskQuarter + int64_t{y} * params.width;
        uint16_t* map = params.pThresholds + int64_t{y} * params.width;
        MotionMapRow(edges, mask, map, block, params.levelShift, ramp);
        for (int x = block; x < params.width; ++x) map[x] = motionMapTail(edges[x], mask[x], params.levelShift, ramp);
    }
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(MaskMap);
HWY_EXPORT(MotionMap);

void WaveletMaskMap(const ST_WAVELET_DN_PARAMS& params) {
    HWY_DYNAMIC_DISPATCH(MaskMap)(params);
}

void WaveletMotionMap(const ST_WAVELET_DN_PARAMS& params) {
    HWY_DYNAMIC_DISPATCH(MotionMap)(params);
}

}  // namespace eis
#endif
