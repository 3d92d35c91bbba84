#include "host/row_search.h"

#include <cmath>
#include <cstdio>

#include "host/denoise_call.h"
#include "host/metrics.h"

namespace eishost {

namespace {

constexpr int kLevels = 5;
constexpr int kWordsPerLevel = 4;
constexpr double kLeastGain = 0.005;  // dB; below it a step is not worth its side effects

struct Knob {
    const char* name;
    std::function<void(RowCandidate&, double)> set;
    std::vector<double> values;
};

Knob settingKnob(const char* name, std::int32_t DenoiseSettings::*value, std::vector<double> values) {
    return {name,
            [value](RowCandidate& candidate, double to) { candidate.settings.*value = static_cast<std::int32_t>(to); },
            std::move(values)};
}

std::vector<Knob> lumaKnobs() {
    return {
        settingKnob("lumaLF", &DenoiseSettings::lumaLF, {-100, -97, -94, -90, -85, -80, -70, -60, -50, -40, -20, 0}),
        settingKnob("lumaHF1", &DenoiseSettings::lumaHF1, {-128, -124, -120, -110, -100, -90, -80, -60, -40, -20, 0}),
        settingKnob("detail", &DenoiseSettings::detail,
                    {-128, -101, -100, -96, -92, -88, -84, -80, -78, -70, -60, -50, -46}),
    };
}

std::vector<Knob> chromaKnobs() {
    return {
        {"threshold",
         [](RowCandidate& candidate, double to) { candidate.chromaThreshold = to; },
         {0.5, 1, 1.5, 2, 3, 4, 5, 6, 8, 10, 12, 16, 20}},
        {"fall",
         [](RowCandidate& candidate, double to) { candidate.chromaFall = to; },
         {0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9, 1}},
        settingKnob("chromaS", &DenoiseSettings::chromaS, {-90, -61, -58, -55, -50, -45, -39}),
    };
}

RowCandidate climb(const std::vector<NoisyPair>& pairs, RowCandidate best, const std::vector<Knob>& knobs,
                   double RowScore::*score, const std::function<void(const std::string&)>& progress) {
    double bestScore = scoreRow(pairs, best.settings).*score;
    for (bool climbed = true; climbed;) {
        climbed = false;
        for (const Knob& knob : knobs) {
            for (const double value : knob.values) {
                RowCandidate candidate = best;
                knob.set(candidate, value);
                fillChromaTable(candidate);
                const double reached = scoreRow(pairs, candidate.settings).*score;
                if (reached < bestScore + kLeastGain) continue;
                best = candidate;
                bestScore = reached;
                climbed = true;
                char line[80];
                std::snprintf(line, sizeof line, "%s %g: %+.3f dB", knob.name, value, reached);
                progress(line);
            }
        }
    }
    return best;
}

}  // namespace

void fillChromaTable(RowCandidate& candidate) {
    std::vector<std::uint32_t>& words = candidate.settings.chromaNrLUT;
    const double perLevel = 512.0 / std::max(1.0, std::floor(0.4 * (candidate.settings.chromaS + 100)));
    words.clear();
    for (int plane = 0; plane < 2; ++plane) {
        double threshold = candidate.chromaThreshold;
        for (int level = 0; level < kLevels; ++level, threshold *= candidate.chromaFall) {
            words.insert(words.end(), kWordsPerLevel, static_cast<std::uint32_t>(std::lround(threshold * perLevel)));
        }
    }
}

RowScore scoreRow(const std::vector<NoisyPair>& pairs, const DenoiseSettings& settings) {
    RowScore score;
    for (const NoisyPair& pair : pairs) {
        const Picture denoised = denoisePicture(pair.noisy, settings, {}).picture;
        for (int plane = 0; plane < 3; ++plane) {
            const cv::Mat clean = pair.clean.mat(plane);
            const cv::Rect all(0, 0, clean.cols, clean.rows);
            const double gain =
                planePsnr(denoised.mat(plane), clean, all) - planePsnr(pair.noisy.mat(plane), clean, all);
            (plane == 0 ? score.luma : score.chroma) += gain / static_cast<double>(pairs.size()) / (plane == 0 ? 1 : 2);
        }
    }
    return score;
}

RowCandidate searchRow(const std::vector<NoisyPair>& pairs, const RowCandidate& start,
                       const std::function<void(const std::string&)>& progress) {
    RowCandidate best = start;
    fillChromaTable(best);
    best.settings.lumaNrEnable = 0;
    best = climb(pairs, best, chromaKnobs(), &RowScore::chroma, progress);
    best.settings.lumaNrEnable = 1;
    best.settings.chromaNrEnable = 0;
    best = climb(pairs, best, lumaKnobs(), &RowScore::luma, progress);
    best.settings.chromaNrEnable = 1;
    return best;
}

std::string rowXml(const DenoiseSettings& settings, int row) {
    std::string text = "        <ISO" + std::to_string(row) + ">\n";
    for (const DenoiseKey& key : denoiseKeys()) {
        if (!key.inRow) continue;
        text += std::string("            <") + key.name + ">" + std::to_string(settings.*key.value) + "</" + key.name +
                ">\n";
    }
    text += "            <chromaNrLUT>";
    for (std::size_t i = 0; i < settings.chromaNrLUT.size(); ++i) {
        if (i > 0) text += ' ';
        text += std::to_string(settings.chromaNrLUT[i]);
    }
    return text + "</chromaNrLUT>\n        </ISO" + std::to_string(row) + ">\n";
}

}  // namespace eishost
