#include <array>
#include <cmath>

#include "bounded/bounded_memory.h"
#include "libCore/core/source/control/control_curve_parts.h"
#include "libCore/core/source/control/control_curves.h"
#include "libCore/core/source/frame/arithmetic.h"

namespace eis {

void BuildLumaCurve_plain(int16_t* dest, int32_t strength) {
    (void)memset_s(dest, 512, 0, 512);
    const double exponent = lumaExponent(strength);
    for (int i = -kLumaCentre; i <= 0; ++i) {
        storeOdd(dest + kLumaCentre, i, truncSat32(std::pow(lumaBase(-i), exponent) * 32.0 * i));
    }
}

void BuildChromaCurve_plain(int16_t* dest, int32_t strength) {
    const double exponent = chromaExponent(strength);
    dest[0] = 0;
    for (int k = 1; k < kChromaEntries - 1; ++k) {
        dest[k] = static_cast<int16_t>(truncSat32((k * 32.0) * std::pow(chromaBase(k), exponent)));
    }
    dest[kChromaEntries - 1] = 0;
}

void BuildThresholdCurve_plain(int16_t* dest, int32_t strength) {
    const double exponent = static_cast<float>(chromaExponent(strength));
    float curve[kHalfCentre] = {};
    for (int k = 1; k < kHalfCentre; ++k) {
        const double base = static_cast<float>(halfBase(k));
        curve[k] = static_cast<float>(std::pow(base, exponent) * k);
    }
    StoreThresholdCurve(dest, curve);
}

void BuildTailCurve_plain(int16_t* dest, int32_t strength) {
    (void)memset_s(dest, 512, 0, 512);
    const double exponent = chromaExponent(strength);
    for (int k = 1; k < kHalfCentre; ++k) {
        const double power = std::pow(halfBase(k), exponent);
        storeOdd(dest + kHalfCentre, k, truncSat32(std::fma(static_cast<double>(k), power, 0.49)));
    }
}

}  // namespace eis
