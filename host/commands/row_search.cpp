#include "host/commands/row_search.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "host/dsp/denoise_call.h"
#include "host/picture/metrics.h"

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
    std::vector<Knob> knobs{
        {"threshold",
         [](RowCandidate& candidate, double to) { candidate.chromaThreshold = to; },
         {0.5, 1, 1.5, 2, 3, 4, 5, 6, 8, 10, 12, 16, 20}},
        {"fall",
         [](RowCandidate& candidate, double to) { candidate.chromaFall = to; },
         {0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9, 1}},
        settingKnob("chromaS", &DenoiseSettings::chromaS, {-90, -61, -58, -55, -50, -45, -39}),
    };
    for (Knob& knob : knobs) {
        knob.set = [set = knob.set](RowCandidate& candidate, double to) {
            set(candidate, to);
            fillChromaTable(candidate);
        };
    }
    return knobs;
}

// Climbs one score of the result; its settings and that score are brought up to date.
class Climb {
  public:
    Climb(const std::vector<NoisyPair>& pairs, const SearchWatch& watch, SearchResult& result)
        : pairs_(pairs), watch_(watch), result_(result) {}

    void run(const std::string& name, const std::vector<Knob>& knobs, std::optional<double> RowScore::*score) {
        result_.score.*score = scoreRow(pairs_, result_.best.settings).*score;
        for (int round = 1; result_.ended; ++round) {
            if (!runRound("round " + std::to_string(round) + " of " + name, knobs, score)) return;
        }
    }

  private:
    bool runRound(const std::string& name, const std::vector<Knob>& knobs, std::optional<double> RowScore::*score) {
        std::size_t total = 0;
        for (const Knob& knob : knobs) total += knob.values.size();
        std::size_t done = 0;
        bool climbed = false;
        for (const Knob& knob : knobs) {
            for (const double value : knob.values) {
                result_.ended = watch_.goesOn({name, done++, total});
                if (!result_.ended) return climbed;
                climbed |= attempt(knob, value, score);
            }
        }
        return climbed;
    }

    bool attempt(const Knob& knob, double value, std::optional<double> RowScore::*score) {
        RowCandidate candidate = result_.best;
        knob.set(candidate, value);
        const double reached = *(scoreRow(pairs_, candidate.settings).*score);
        if (!std::isfinite(reached) || !(reached >= *(result_.score.*score) + kLeastGain)) return false;
        result_.best = candidate;
        result_.score.*score = reached;
        char line[80];
        std::snprintf(line, sizeof line, "%s %g: %+.3f dB", knob.name, value, reached);
        watch_.climbed(line);
        return true;
    }

    const std::vector<NoisyPair>& pairs_;
    const SearchWatch& watch_;
    SearchResult& result_;
};

bool anyNoise(const std::vector<NoisyPair>& pairs, std::initializer_list<int> planes) {
    return std::any_of(pairs.begin(), pairs.end(), [&planes](const NoisyPair& pair) {
        return std::any_of(planes.begin(), planes.end(), [&pair](int plane) { return pair.hasNoise(plane); });
    });
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
    double gains[2] = {};
    int planes[2] = {};
    for (const NoisyPair& pair : pairs) {
        const Picture denoised = denoisePicture(pair.noisy, settings, {}).picture;
        for (int plane = 0; plane < 3; ++plane) {
            if (!pair.hasNoise(plane)) continue;  // against it every gain is infinite or none
            const cv::Mat clean = pair.clean.mat(plane);
            const cv::Rect all(0, 0, clean.cols, clean.rows);
            const int kind = plane == 0 ? 0 : 1;
            gains[kind] += planePsnr(denoised.mat(plane), clean, all) - planePsnr(pair.noisy.mat(plane), clean, all);
            ++planes[kind];
        }
    }
    const auto mean = [&](int kind) {
        return planes[kind] > 0 ? std::optional(gains[kind] / planes[kind]) : std::nullopt;
    };
    return {mean(0), mean(1)};
}

SearchResult searchRow(const std::vector<NoisyPair>& pairs, const RowCandidate& start, const SearchWatch& watch) {
    const bool luma = anyNoise(pairs, {0});
    const bool chroma = anyNoise(pairs, {1, 2});
    SearchResult result;
    result.best = start;
    Climb climb(pairs, watch, result);
    DenoiseSettings& settings = result.best.settings;
    if (chroma) {
        fillChromaTable(result.best);
        settings.lumaNrEnable = 0;
        climb.run(luma ? "chroma, then luma" : "chroma", chromaKnobs(), &RowScore::chroma);
    }
    settings.lumaNrEnable = 1;
    settings.chromaNrEnable = 0;
    if (luma && result.ended) climb.run("luma", lumaKnobs(), &RowScore::luma);
    settings.chromaNrEnable = 1;
    if (result.ended) result.score = scoreRow(pairs, settings);
    return result;
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
