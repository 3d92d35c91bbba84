#include "libCore/core/source/control_curves.h"

#include <array>
#include <cmath>

#include "bounded/bounded_memory.h"
#include "libCore/core/source/arithmetic.h"

namespace eis {

namespace {

constexpr int kLumaCentre = 120;
constexpr int kHalfCentre = 128;  // of the threshold and tail tables
constexpr int kChromaEntries = 256;

// 16 bits of a table hold the low half of what the conversion gives.
void storeOdd(int16_t* centre, int k, int32_t value) {
    centre[k] = static_cast<int16_t>(value);
    centre[-k] = static_cast<int16_t>(wrapSub(0, value));
}

double lumaExponent(int32_t strength) {
    return quarterExponent(std::fma(-static_cast<float>(strength), 0.0019569471f, 0.99999f));
}

double chromaExponent(int32_t strength) {
    return quarterExponent(std::fma(-static_cast<double>(strength), 0.00392156862745098, 0.99999));
}

double lumaBase(int k) {
    return std::fma(static_cast<double>(-k), 0.0004892367906066536, 1.0);
}

double halfBase(int k) {
    return std::fma(static_cast<double>(-k), 0.0078125, 1.0);
}

}  // namespace

double quarterExponent(double a) {
    return -1.3862943611198906 / std::log(a);
}

void BuildLumaCurve(int16_t* dest, int32_t strength) {
    (void)memset_s(dest, 512, 0, 512);
    const double exponent = lumaExponent(strength);
    for (int i = -kLumaCentre; i <= 0; ++i) {
        storeOdd(dest + kLumaCentre, i, truncSat32(std::pow(lumaBase(-i), exponent) * 32.0 * i));
    }
}

void BuildLumaCurveSingle(int16_t* dest, int32_t strength) {
    (void)memset_s(dest, 482, 0, 482);
    const auto exponent = static_cast<float>(lumaExponent(strength));
    for (int i = -kLumaCentre; i <= 0; ++i) {
        const double base = static_cast<float>(lumaBase(-i));
        storeOdd(dest + kLumaCentre, i, truncSat32(std::pow(base, static_cast<double>(exponent)) * 32.0 * i));
    }
}

void BuildChromaCurve(int16_t* dest, int32_t strength) {
    const double exponent = chromaExponent(strength);
    dest[0] = 0;
    for (int k = 1; k < kChromaEntries - 1; ++k) {
        const double base = std::fma(static_cast<double>(-k), 0.000980392156862745, 1.0);
        dest[k] = static_cast<int16_t>(truncSat32((k * 32.0) * std::pow(base, exponent)));
    }
    dest[kChromaEntries - 1] = 0;
}

void BuildThresholdCurve(int16_t* dest, int32_t strength) {
    (void)memset_s(dest, 512, 0, 512);
    const double exponent = static_cast<float>(chromaExponent(strength));
    std::array<float, kHalfCentre> curve{};
    float peak = 0.0f;
    int peakIndex = 0;
    for (int k = 1; k < kHalfCentre; ++k) {
        const double base = static_cast<float>(halfBase(k));
        curve[k] = static_cast<float>(std::pow(base, exponent) * k);
        if (curve[k] > peak) {
            peak = curve[k];
            peakIndex = k;
        }
    }
    // A parabola that meets the peak: small differences are removed more strongly than by the curve itself.
    for (int k = 0; k < peakIndex; ++k) curve[k] = (curve[k] * curve[k]) * (1.0f / peak);
    for (int k = 0; k < kHalfCentre; ++k) storeOdd(dest + kHalfCentre, k, truncSat32(curve[k]));
}

void BuildTailCurve(int16_t* dest, int32_t strength) {
    (void)memset_s(dest, 512, 0, 512);
    const double exponent = chromaExponent(strength);
    for (int k = 1; k < kHalfCentre; ++k) {
        const double power = std::pow(halfBase(k), exponent);
        storeOdd(dest + kHalfCentre, k, truncSat32(std::fma(static_cast<double>(k), power, 0.49)));
    }
}

int32_t LumaGainFromDetail(int32_t lumaDetail) {
    const int32_t g = wrapMul(-58, lumaDetail);
    if (g <= 2719) return 5000;
    return g > 5720 ? 8000 : g + 2280;
}

void ApplyLumaGain(const int16_t* luma, int32_t gain, int16_t* dest) {
    for (int j = 0; j <= kLumaCentre; ++j) {
        storeOdd(dest + kLumaCentre, j, (gain * luma[kLumaCentre + j] + 4096) >> 13);
    }
}

}  // namespace eis
