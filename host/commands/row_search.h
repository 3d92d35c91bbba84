// A search for the settings of one row of a tuning file.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/dsp/denoise_settings.h"
#include "host/picture/picture.h"

namespace eishost {

struct NoisyPair {
    bool hasNoise(int plane) const { return noisy.planes[plane] != clean.planes[plane]; }

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

// Mean gains of PSNR over the planes that have noise, dB; nothing where none has. Infinite when a result is perfect.
struct RowScore {
    std::optional<double> luma;
    std::optional<double> chroma;
};

RowScore scoreRow(const std::vector<NoisyPair>& pairs, const DenoiseSettings& settings);

// Where a search stands before a trial.
struct SearchTrial {
    std::string what;   // "round 2 of chroma"
    std::size_t done;   // trials of this round
    std::size_t total;  // of this round; a round that gains is followed by another
};

struct SearchWatch {
    std::function<void(const std::string&)> climbed;  // a line for each step up
    std::function<bool(const SearchTrial&)> goesOn;   // false ends the search with the best so far
};

struct SearchResult {
    RowCandidate best;
    RowScore score;
    bool ended = true;  // false when the watch ended it; then the score is that of the steps so far
};

// Climbs from `start`, one setting at a time over a list of values, until no change gains. Luma and chroma are climbed
// apart, each where some pair has noise in it: else its settings stay.
SearchResult searchRow(const std::vector<NoisyPair>& pairs, const RowCandidate& start, const SearchWatch& watch);

// The row as a tuning file spells it.
std::string rowXml(const DenoiseSettings& settings, int row);

}  // namespace eishost
