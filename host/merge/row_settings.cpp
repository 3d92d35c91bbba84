#include "host/merge/row_settings.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace eishost {

namespace {

// Rows 2, 5 and 7 are tuned on noise of 2.9, 5.8 and 13.9 levels; between and beyond them the sensitivities of the
// rows tell.
constexpr std::array<double, kTuningIsoLevels> kRowSigma{1.8, 2.9, 3.7, 4.7, 5.8, 9.5, 13.9, 17};

// A word of the table is a threshold in levels times 512 / (0.4 * (chromaS + 100)).
double strength(const DenoiseSettings& settings) {
    return 0.4 * (settings.chromaS + 100);
}

}  // namespace

double rowForNoise(double sigma) {
    if (sigma <= kRowSigma.front()) return 1;
    for (int row = 1; row < int{kTuningIsoLevels}; ++row) {
        if (sigma < kRowSigma[row]) return row + (sigma - kRowSigma[row - 1]) / (kRowSigma[row] - kRowSigma[row - 1]);
    }
    return kTuningIsoLevels;
}

DenoiseSettings settingsAt(const ST_CONFIG_XML& record, double row) {
    const int lower = std::clamp(static_cast<int>(row), 1, int{kTuningIsoLevels} - 1);
    const double share = std::clamp(row - lower, 0.0, 1.0);
    DenoiseSettings from;
    DenoiseSettings to;
    assignRow(from, record, lower);
    assignRow(to, record, lower + 1);
    DenoiseSettings between = from;
    for (const DenoiseKey& key : denoiseKeys()) {
        if (!key.inRow) continue;
        const double value = from.*key.value + share * (double{1} * (to.*key.value) - from.*key.value);
        between.*key.value = static_cast<std::int32_t>(std::lround(value));
    }
    if (strength(from) <= 0 || strength(to) <= 0 || strength(between) <= 0) return between;
    for (std::size_t i = 0; i < between.chromaNrLUT.size(); ++i) {
        const double threshold =
            (1 - share) * from.chromaNrLUT[i] * strength(from) + share * to.chromaNrLUT[i] * strength(to);
        between.chromaNrLUT[i] = static_cast<std::uint32_t>(std::lround(threshold / strength(between)));
    }
    return between;
}

}  // namespace eishost
