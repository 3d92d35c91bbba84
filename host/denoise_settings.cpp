#include "host/denoise_settings.h"

#include <strings.h>

#include <charconv>

#include "host/exit_codes.h"
#include "host/nearest_name.h"

namespace eishost {

namespace {

constexpr char kLutName[] = "chromaNrLUT";

using Settings = DenoiseSettings;
constexpr DenoiseKey kKeys[] = {
    {"lumaMed", &Settings::lumaMed, INT32_MIN, INT32_MAX, true, "not 0: a 3x3 median first"},
    {"lumaLF", &Settings::lumaLF, INT32_MIN, INT32_MAX, true, "low-frequency luma smoothing, from -100 (none)"},
    {"lumaHF1", &Settings::lumaHF1, INT32_MIN, INT32_MAX, true, "luma detail shrinkage, -128 (none) to 0"},
    {"lumaHF2", &Settings::lumaHF2, INT32_MIN, INT32_MAX, true, "carried, without effect"},
    {"lumaHF3", &Settings::lumaHF3, INT32_MIN, INT32_MAX, true, "carried, without effect"},
    {"detail", &Settings::detail, INT32_MIN, INT32_MAX, true, "luma texture that comes back, -128 (most) to 0"},
    {"chromaS", &Settings::chromaS, INT32_MIN, INT32_MAX, true, "chroma strength, about -100 (none) up; default -90"},
    {"lumaNrEnable", &Settings::lumaNrEnable, INT32_MIN, INT32_MAX, false, "0 leaves luma alone; default 1"},
    {"chromaNrEnable", &Settings::chromaNrEnable, INT32_MIN, INT32_MAX, false, "0 leaves chroma alone; default 1"},
    {"chromaEdgeLevel", &Settings::chromaEdgeLevel, 0, 255, false,
     "above 64 luma edges guard chroma, too; from 201 the gain index falls by one; default 65"},
    {"chromaGainIndex", &Settings::chromaGainIndex, INT32_MIN, INT32_MAX, false,
     "1 (mild) to 9 (strong): saturation gain; default 0, none"},
    {"chromaEdgeAlpha", &Settings::chromaEdgeAlpha, INT32_MIN, INT32_MAX, false,
     "0 to 255: denoised chroma against its low-pass on edges; default 192"},
    {"iirImgCount", &Settings::iirImgCount, 0, 255, false,
     "images behind the motion mask, for --chroma-only low; default 0"},
};

// The number that `text` starts with; what follows is left in it.
template <typename T>
bool takeNumber(std::string_view& text, T& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc()) return false;
    text.remove_prefix(end - text.data());
    return true;
}

void assignLut(DenoiseSettings& settings, const std::string& assignment, std::string_view text) {
    std::vector<std::uint32_t> words;
    std::uint32_t word = 0;
    while (takeNumber(text, word)) {
        words.push_back(word);
        if (text.empty()) break;
        if (text.front() != ',' && text.front() != ' ') break;
        text.remove_prefix(1);
    }
    if (words.empty() || !text.empty() || words.size() > kTuningChromaLutEntries) {
        throw HostError(kExitUsage, "'" + assignment + "': want " + kLutName + "=up to " +
                                        std::to_string(kTuningChromaLutEntries) +
                                        " numbers from 0 to 4294967295 with commas between");
    }
    words.resize(kTuningChromaLutEntries);
    settings.chromaNrLUT = words;
}

std::string unknownKey(const std::string& name) {
    std::vector<std::string> known{kLutName};
    for (const DenoiseKey& key : kKeys) known.emplace_back(key.name);
    const std::string nearest = nearestName(name, known);
    return "unknown key '" + name + "'" +
           (nearest.empty() ? "; denoise --help lists the keys" : ", did you mean " + nearest + "?");
}

}  // namespace

std::span<const DenoiseKey> denoiseKeys() {
    return kKeys;
}

void assignRow(DenoiseSettings& settings, const ST_CONFIG_XML& record, int row) {
    const ST_CONFIG_XML_ISO& iso = record.astIso[row - 1];
    settings.lumaMed = iso.lumaMed;
    settings.lumaLF = iso.lumaLF;
    settings.lumaHF1 = iso.lumaHF1;
    settings.lumaHF2 = iso.lumaHF2;
    settings.lumaHF3 = iso.lumaHF3;
    settings.detail = iso.detail;
    settings.chromaS = iso.chromaS;
    settings.chromaNrLUT.assign(std::begin(iso.chromaNrLUT), std::end(iso.chromaNrLUT));
}

void assignSetting(DenoiseSettings& settings, const std::string& assignment) {
    const std::size_t equals = assignment.find('=');
    if (equals == std::string::npos) throw HostError(kExitUsage, "'" + assignment + "': want KEY=VALUE");
    const std::string name = assignment.substr(0, equals);
    std::string_view text = std::string_view(assignment).substr(equals + 1);
    if (strcasecmp(name.c_str(), kLutName) == 0) return assignLut(settings, assignment, text);
    for (const DenoiseKey& key : kKeys) {
        if (strcasecmp(name.c_str(), key.name) != 0) continue;
        std::int32_t value = 0;
        if (!takeNumber(text, value) || !text.empty() || value < key.min || value > key.max) {
            throw HostError(kExitUsage, "'" + assignment + "': want " + key.name + "=a whole number from " +
                                            std::to_string(key.min) + " to " + std::to_string(key.max));
        }
        settings.*key.value = value;
        return;
    }
    throw HostError(kExitUsage, unknownKey(name));
}

ST_DN_PARAMS_NEW denoiseParams(const DenoiseSettings& settings) {
    ST_DN_PARAMS_NEW params{};
    params.iirImgCount = static_cast<std::uint8_t>(settings.iirImgCount);
    params.lumaMed = settings.lumaMed;
    params.lumaLF = settings.lumaLF;
    params.lumaHF1 = settings.lumaHF1;
    params.lumaHF2 = settings.lumaHF2;
    params.lumaHF3 = settings.lumaHF3;
    params.chromaS = settings.chromaS;
    params.detail = settings.detail;
    params.lumaNrEnable = settings.lumaNrEnable;
    params.chromaNrEnable = settings.chromaNrEnable;
    params.chromaEdgeLevel = static_cast<std::uint8_t>(settings.chromaEdgeLevel);
    params.chromaGainIndex = settings.chromaGainIndex;
    params.chromaEdgeAlpha = settings.chromaEdgeAlpha;
    return params;
}

void to_json(nlohmann::ordered_json& json, const DenoiseSettings& settings) {
    for (const DenoiseKey& key : kKeys) json[key.name] = settings.*key.value;
    json[kLutName] = settings.chromaNrLUT;
}

}  // namespace eishost
