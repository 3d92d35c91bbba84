#include "libCore/core/source/control/control_curves.h"

#include <array>
#include <cmath>

#include "bounded/bounded_memory.h"
#include "libCore/core/source/control/control_curve_parts.h"
#include "libCore/core/source/control/curve_powers.h"
#include "libCore/core/source/frame/arithmetic.h"

namespace eis {

namespace {

// Beyond what the powers, and those of any C library, may be off, relative to them.
constexpr double kTolerance = 1e-10;

// The natural logarithm from 1/128 to 1, where it is a constant: a series of the inverse hyperbolic tangent.
constexpr double constantLog(double value) {
    int halvings = 0;
    while (value < 0.7) {
        value *= 2;
        ++halvings;
    }
    const double t = (value - 1) / (value + 1);
    double sum = 0;
    double power = t;
    for (int i = 1; i < 40; i += 2) {
        sum += power / i;
        power *= t * t;
    }
    return 2 * sum - halvings * 0.6931471805599453;
}

// Logarithms of 1 - k * step.
template <int entries>
constexpr std::array<double, entries> baseLogs(double step) {
    std::array<double, entries> logs{};
    for (int k = 0; k < entries; ++k) logs[k] = constantLog(1.0 - k * step);
    return logs;
}

constexpr auto kLumaLogs = baseLogs<kLumaCentre + 1>(kLumaStep);
constexpr auto kChromaLogs = baseLogs<kChromaEntries>(kChromaStep);
constexpr auto kHalfLogs = baseLogs<kHalfCentre>(kHalfStep);

// The powers of all bases, within the tolerance. False for an exponent whose powers leave the range, for the bases are
// below 1, or are no numbers: these tables are left to the plain form.
template <size_t entries>
bool powersOf(const std::array<double, entries>& logs, double exponent, std::array<double, entries>& powers) {
    if (!(exponent > 0 && exponent < 1e6)) return false;
    CurvePowers_neon(logs.data(), entries, exponent, powers.data());
    return true;
}

// A value from 0 on that is known within the tolerance, truncated; exact() gives it where that leaves two answers.
template <class Exact>
int32_t truncated(double value, Exact exact) {
    const auto low = static_cast<int32_t>(value * (1 - kTolerance));
    const auto high = static_cast<int32_t>(value * (1 + kTolerance));
    return low == high ? low : truncSat32(exact());
}

}  // namespace

double quarterExponent(double a) {
    return -1.3862943611198906 / std::log(a);
}

void BuildLumaCurve(int16_t* dest, int32_t strength) {
    const double exponent = lumaExponent(strength);
    std::array<double, kLumaCentre + 1> powers;
    if (!powersOf(kLumaLogs, exponent, powers)) return BuildLumaCurve_plain(dest, strength);
    (void)memset_s(dest, 512, 0, 512);
    for (int k = 0; k <= kLumaCentre; ++k) {
        const auto exact = [&] { return std::pow(lumaBase(k), exponent) * 32.0 * k; };
        storeOdd(dest + kLumaCentre, k, truncated(powers[k] * 32.0 * k, exact));
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
    std::array<double, kChromaEntries> powers;
    if (!powersOf(kChromaLogs, exponent, powers)) return BuildChromaCurve_plain(dest, strength);
    dest[0] = 0;
    for (int k = 1; k < kChromaEntries - 1; ++k) {
        const auto exact = [&] { return (k * 32.0) * std::pow(chromaBase(k), exponent); };
        dest[k] = static_cast<int16_t>(truncated((k * 32.0) * powers[k], exact));
    }
    dest[kChromaEntries - 1] = 0;
}

void BuildThresholdCurve(int16_t* dest, int32_t strength) {
    const double exponent = static_cast<float>(chromaExponent(strength));
    std::array<double, kHalfCentre> powers;
    if (!powersOf(kHalfLogs, exponent, powers)) return BuildThresholdCurve_plain(dest, strength);
    std::array<float, kHalfCentre> curve{};
    for (int k = 1; k < kHalfCentre; ++k) {
        const auto low = static_cast<float>(powers[k] * k * (1 - kTolerance));
        const auto high = static_cast<float>(powers[k] * k * (1 + kTolerance));
        curve[k] = low == high ? low : static_cast<float>(std::pow(halfBase(k), exponent) * k);
    }
    StoreThresholdCurve(dest, curve.data());
}

void StoreThresholdCurve(int16_t* dest, float* curve) {
    (void)memset_s(dest, 512, 0, 512);
    float peak = 0.0f;
    int peakIndex = 0;
    for (int k = 1; k < kHalfCentre; ++k) {
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
    const double exponent = chromaExponent(strength);
    std::array<double, kHalfCentre> powers;
    if (!powersOf(kHalfLogs, exponent, powers)) return BuildTailCurve_plain(dest, strength);
    (void)memset_s(dest, 512, 0, 512);
    for (int k = 1; k < kHalfCentre; ++k) {
        const auto exact = [&] { return std::fma(static_cast<double>(k), std::pow(halfBase(k), exponent), 0.49); };
        storeOdd(dest + kHalfCentre, k, truncated(k * powers[k] + 0.49, exact));
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
