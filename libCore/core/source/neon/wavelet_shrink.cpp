#include "libCore/core/source/neon/wavelet_shrink.h"

#include "libCore/core/source/neon/wavelet_tail.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "libCore/core/source/neon/wavelet_shrink.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

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

// The four-entry table of gains as three selections.
HWY_INLINE uint32_t Gain(const ShrinkCurve& curve, int32_t low) {
    const uint32_t dark = low < 0x2000 ? curve.gains[0] : curve.gains[1];
    const uint32_t bright = low < 0x6000 ? curve.gains[2] : curve.gains[3];
    return low < 0x4000 ? dark : bright;
}

// Block columns. Only the low 16 bits of a result count, and within them sums wrap as they should.
template <bool first>
HWY_INLINE int16_t Shrink(int16_t high, int16_t low, uint16_t map, const ShrinkCurve& curve) {
    const auto d = static_cast<int16_t>(high - low);
    const auto raw = static_cast<uint16_t>((map * Gain(curve, low) + 8192) >> 14);
    const auto floor = static_cast<uint16_t>(curve.floor);
    const uint16_t threshold = first && raw < floor ? floor : raw;
    const uint32_t product = (threshold * static_cast<uint32_t>(curve.slope) + 16384) >> 15;
    const auto soft = static_cast<uint16_t>(product < 65535 ? product : 65535);
    const auto above = static_cast<int16_t>(threshold);
    const auto below = static_cast<int16_t>(-above);
    const int32_t scaled = (d * curve.keep + 16384) >> 15;
    const auto noise = static_cast<int16_t>(scaled < 32767 ? scaled : 32767);
    const auto positive = static_cast<int16_t>(d - soft);
    const auto negative = static_cast<int16_t>(d + soft);
    const int16_t notAbove = d < below ? negative : noise;
    const int16_t shrunk = d > above ? positive : notAbove;
    const bool kept = first && -curve.floor < d && d < curve.floor;
    return kept ? d : shrunk;
}

void ShrinkFirstRow(const int16_t* HWY_RESTRICT low, const uint16_t* HWY_RESTRICT map, int16_t* HWY_RESTRICT samples,
                    int count, const ShrinkCurve& shared) {
    const ShrinkCurve curve = shared;
    for (int x = 0; x < count; ++x) samples[x] = Shrink<true>(samples[x], low[x], map[x], curve);
}

void ShrinkRow(const int16_t* HWY_RESTRICT high, const int16_t* HWY_RESTRICT low, const uint16_t* HWY_RESTRICT map,
               int16_t* HWY_RESTRICT samples, int count, const ShrinkCurve& shared) {
    const ShrinkCurve curve = shared;
    for (int x = 0; x < count; ++x) {
        samples[x] = static_cast<int16_t>(samples[x] + Shrink<false>(high[x], low[x], map[x], curve));
    }
}

void AddRow(const int16_t* HWY_RESTRICT plane, int16_t* HWY_RESTRICT samples, int count) {
    for (int x = 0; x < count; ++x) samples[x] = static_cast<int16_t>(samples[x] + plane[x]);
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

void ShrinkLevel(const ST_WAVELET_DN_PARAMS& params, const ShrinkCurve& curve, const int16_t* high,
                 const int16_t* low) {
    const int block = waveletBlockColumns(params.width);
    for (int y = 0; y < params.height; ++y) {
        const int64_t row = int64_t{y} * params.width;
        const uint16_t* map = params.pThresholds + row;
        int16_t* samples = params.pSamples + int64_t{y} * params.sampleStride;
        if (curve.first) {
            ShrinkFirstRow(low + row, map, samples, block, curve);
        } else {
            ShrinkRow(high + row, low + row, map, samples, block, curve);
        }
        for (int x = block; x < params.width; ++x) {
            const int16_t source = curve.first ? samples[x] : high[row + x];
            const int16_t shrunk = shrinkTail(source, low[row + x], map[x], curve);
            samples[x] = static_cast<int16_t>(curve.first ? shrunk : samples[x] + shrunk);
        }
    }
}

void AddPlane(const ST_WAVELET_DN_PARAMS& params, const int16_t* plane) {
    for (int y = 0; y < params.height; ++y) {
        AddRow(plane + int64_t{y} * params.width, params.pSamples + int64_t{y} * params.sampleStride, params.width);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(MaskMap);
HWY_EXPORT(MotionMap);
HWY_EXPORT(ShrinkLevel);
HWY_EXPORT(AddPlane);

void WaveletMaskMap_neon(const ST_WAVELET_DN_PARAMS& params) {
    HWY_DYNAMIC_DISPATCH(MaskMap)(params);
}

void WaveletMotionMap_neon(const ST_WAVELET_DN_PARAMS& params) {
    HWY_DYNAMIC_DISPATCH(MotionMap)(params);
}

void WaveletShrinkLevel_neon(const ST_WAVELET_DN_PARAMS& params, int pass, int level, const int16_t* high,
                             const int16_t* low) {
    HWY_DYNAMIC_DISPATCH(ShrinkLevel)(params, shrinkCurveOf(params, pass, level), high, low);
}

void WaveletAddPlane_neon(const ST_WAVELET_DN_PARAMS& params, const int16_t* plane) {
    HWY_DYNAMIC_DISPATCH(AddPlane)(params, plane);
}

}  // namespace eis
#endif
