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

// The powers of a curve's bases, known within the tolerance. Where what an entry makes of one is not certain, the C
// library is asked, and so it is for each where they leave the range, for the bases are at most 1, or are no numbers.
template <size_t entries>
class Powers {
  public:
    Powers(const std::array<double, entries>& logs, double (*base)(int), double exponent)
        : base_(base), exponent_(exponent), areNear_(exponent > 0 && exponent < 1e6) {
        if (areNear_) CurvePowers(logs.data(), entries, exponent, near_.data());
    }

    // What value, which rises or falls with its argument, makes of the k-th base's power.
    template <class Value>
    auto at(int k, Value value) const {
        if (areNear_) {
            const auto low = value(near_[k] * (1 - kTolerance));
            if (low == value(near_[k] * (1 + kTolerance))) return low;
        }
        return value(std::pow(base_(k), exponent_));
    }

  private:
    double (*base_)(int);
    double exponent_;
    bool areNear_;
    std::array<double, entries> near_;
};

}  // namespace

double quarterExponent(double a) {
    return -1.3862943611198906 / std::log(a);
}

void BuildLumaCurve(int16_t* dest, int32_t strength) {
    const Powers powers(kLumaLogs, lumaBase, lumaExponent(strength));
    (void)memset_s(dest, 512, 0, 512);
    for (int k = 0; k <= kLumaCentre; ++k) {
        storeOdd(dest + kLumaCentre, -k, powers.at(k, [k](double power) { return truncSat32(power * 32.0 * -k); }));
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
    const Powers powers(kChromaLogs, chromaBase, chromaExponent(strength));
    dest[0] = dest[kChromaEntries - 1] = 0;
    for (int k = 1; k < kChromaEntries - 1; ++k) {
        dest[k] = static_cast<int16_t>(powers.at(k, [k](double power) { return truncSat32((k * 32.0) * power); }));
    }
}

void BuildThresholdCurve(int16_t* dest, int32_t strength) {
    const Powers powers(kHalfLogs, halfBase, static_cast<float>(chromaExponent(strength)));
    float curve[kHalfCentre] = {};
    for (int k = 1; k < kHalfCentre; ++k) {
        curve[k] = powers.at(k, [k](double power) { return static_cast<float>(power * k); });
    }
    StoreThresholdCurve(dest, curve);
}

void BuildTailCurve(int16_t* dest, int32_t strength) {
    const Powers powers(kHalfLogs, halfBase, chromaExponent(strength));
    (void)memset_s(dest, 512, 0, 512);
    for (int k = 1; k < kHalfCentre; ++k) {
        const auto entry = [k](double power) { return truncSat32(std::fma(static_cast<double>(k), power, 0.49)); };
        storeOdd(dest + kHalfCentre, k, powers.at(k, entry));
    }
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
