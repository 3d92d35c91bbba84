// A search for the settings of one row of a tuning file.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/denoise_settings.h"
#include "host/picture.h"

namespace eishost {

struct NoisyPair {
    Picture noisy;
    Picture clean;
};

// What a row is made from: the settings, and the chroma thresholds in levels that fill its table.
struct RowCandidate {
    DenoiseSettings settings;
    double chromaThreshold = 1;  // at wavelet level 1, for either plane and every class of values
    double chromaFall = 0.5;     // from each level to the next
};

// Sets chromaNrLUT by the thresholds and chromaS.
void fillChromaTable(RowCandidate& candidate);

struct RowScore {
    double luma = 0;    // mean gain of PSNR over the pairs, dB
    double chroma = 0;  // the same, over both planes
};

RowScore scoreRow(const std::vector<NoisyPair>& pairs, const DenoiseSettings& settings);

// Climbs from `start`, one setting at a time over a list of values, until no change gains. Luma and chroma are climbed
// apart. `progress` gets a line for each step up.
RowCandidate searchRow(const std::vector<NoisyPair>& pairs, const RowCandidate& start,
                       const std::function<void(const std::string&)>& progress);

// The row as a tuning file spells it.
std::string rowXml(const DenoiseSettings& settings, int row);

}  // namespace eishost
