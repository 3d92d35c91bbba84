// What both forms of the curve builders share.
#pragma once

#include <cmath>
#include <cstdint>

#include "libCore/core/source/control/control_curves.h"
#include "libCore/core/source/frame/arithmetic.h"

namespace eis {

inline constexpr int kLumaCentre = 120;
inline constexpr int kHalfCentre = 128;  // of the threshold and tail tables
inline constexpr int kChromaEntries = 256;

inline constexpr double kLumaStep = 0.0004892367906066536;
inline constexpr double kChromaStep = 0.000980392156862745;
inline constexpr double kHalfStep = 0.0078125;

// 16 bits of a table hold the low half of what the conversion gives.
inline void storeOdd(int16_t* centre, int k, int32_t value) {
    centre[k] = static_cast<int16_t>(value);
    centre[-k] = static_cast<int16_t>(wrapSub(0, value));
}

inline double lumaExponent(int32_t strength) {
    return quarterExponent(std::fma(-static_cast<float>(strength), 0.0019569471f, 0.99999f));
}
inline double chromaExponent(int32_t strength) {
    return quarterExponent(std::fma(-static_cast<double>(strength), 0.00392156862745098, 0.99999));
}

inline double lumaBase(int k) {
    return std::fma(static_cast<double>(-k), kLumaStep, 1.0);
}
inline double chromaBase(int k) {
    return std::fma(static_cast<double>(-k), kChromaStep, 1.0);
}
inline double halfBase(int k) {
    return std::fma(static_cast<double>(-k), kHalfStep, 1.0);
}

// The threshold table of a curve's values, kHalfCentre of them: below the peak they are replaced by a parabola.
void StoreThresholdCurve(int16_t* dest, float* curve);

}  // namespace eis
