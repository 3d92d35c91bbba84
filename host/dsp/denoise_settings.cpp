#include "host/dsp/denoise_settings.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <sstream>

#include "host/dsp/key_meanings.h"
#include "host/dsp/tuning_record.h"
#include "host/program/key_value.h"
#include "host/program/messages.h"

namespace eishost {

namespace {

constexpr char kLutName[] = "chromaNrLUT";

using Settings = DenoiseSettings;
constexpr DenoiseKey kKeys[] = {
    {"lumaMed", &Settings::lumaMed, true},
    {"lumaLF", &Settings::lumaLF, true},
    {"lumaHF1", &Settings::lumaHF1, true},
    {"lumaHF2", &Settings::lumaHF2, true},
    {"lumaHF3", &Settings::lumaHF3, true},
    {"detail", &Settings::detail, true},
    {"chromaS", &Settings::chromaS, true},
    {"lumaNrEnable", &Settings::lumaNrEnable, false},
    {"chromaNrEnable", &Settings::chromaNrEnable, false},
    {"chromaEdgeLevel", &Settings::chromaEdgeLevel, false, 0, 255},
    {"chromaGainIndex", &Settings::chromaGainIndex, false},
    {"chromaEdgeAlpha", &Settings::chromaEdgeAlpha, false},
    {"iirImgCount", &Settings::iirImgCount, false, 0, 255},
};

void assignLut(DenoiseSettings& settings, const KeyValue& assignment) {
    std::string_view text = assignment.value();
    std::vector<std::uint32_t> words;
    std::uint32_t word = 0;
    while (true) {
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), word);
        if (error != std::errc()) break;
        words.push_back(word);
        text.remove_prefix(end - text.data());
        if (text.empty()) break;
        if (text.front() != ',' && text.front() != ' ') break;
        text.remove_prefix(1);
    }
    if (words.empty() || !text.empty() || words.size() > kTuningChromaLutEntries) {
        assignment.refuseValue(kLutName, "up to " + std::to_string(kTuningChromaLutEntries) +
                                             " numbers from 0 to 4294967295 with commas between");
    }
    words.resize(kTuningChromaLutEntries);
    settings.chromaNrLUT = words;
}

}  // namespace

const char* DenoiseKey::section() const {
    return inRow ? "NoiseReduction" : kCallSection;
}

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
    const KeyValue word(assignment);
    if (word.isFor(kLutName)) return assignLut(settings, word);
    const DenoiseKey& key = word.among(kKeys, {kLutName});
    settings.*key.value = word.wholeNumber(key.name, key.lowest, key.highest);
}

void noteRowOrder(const ST_CONFIG_XML& record, const std::string& file) {
    const std::vector<int> disordered = rowsOutOfOrder(record, "NoiseReduction");
    if (disordered.empty()) return;
    note(file + ": the isovalue of ISO" + std::to_string(disordered.front()) +
         " is not above that of the row before it");
}

void takeRow(DenoiseSettings& settings, const std::string& file, int row, std::ostream* trace, std::ostream* log) {
    const ST_CONFIG_XML record = loadTuningRecord(file, trace, log);
    noteRowOrder(record, file);
    assignRow(settings, record, row);
}

void noteSettings(const DenoiseSettings& settings) {
    for (const DenoiseKey& key : kKeys) {
        if (const auto text = rangeNote(key.section(), key.name, settings.*key.value)) note(*text);
    }
    for (const std::uint32_t word : settings.chromaNrLUT) {
        const auto text = rangeNote("NoiseReduction", kLutName, word);
        if (!text) continue;
        note(*text);
        break;
    }
}

std::string describeSettings(const DenoiseSettings& settings) {
    const DenoiseSettings none;
    std::string text;
    for (const DenoiseKey& key : kKeys) {
        if (settings.*key.value == none.*key.value) continue;
        text += std::string(text.empty() ? "" : ", ") + key.name + " " + std::to_string(settings.*key.value);
    }
    if (settings.chromaNrLUT != none.chromaNrLUT) {
        text +=
            std::string(text.empty() ? "" : ", ") + kLutName + " " + std::to_string(settings.chromaNrLUT[0]) + ",...";
    }
    return text;
}

std::string denoiseKeyHelp() {
    const DenoiseSettings standard;
    std::string text = "Keys, with their useful range and what they have when not given:";
    const auto line = [&](const char* section, const char* name, const std::string& value) {
        const KeyMeaning& meaning = meaningOf(section, name);
        char start[80];
        std::snprintf(start, sizeof start, "\n  %-16s %-12s %-10s %5s  ", name, meaning.range().c_str(), meaning.unit,
                      value.c_str());
        text += start;
        std::size_t column = std::strlen(start) - 1;
        std::istringstream words(meaning.meaning);
        for (std::string word; words >> word; column += word.size() + 1) {
            constexpr std::size_t kLineWidth = 118;
            if (column + word.size() > kLineWidth) {
                column = std::strlen(start) - 1;
                text.append("\n").append(column, ' ');
            }
            text += word + " ";
        }
    };
    for (const DenoiseKey& key : kKeys) line(key.section(), key.name, std::to_string(standard.*key.value));
    line("NoiseReduction", kLutName, "0");
    return text;
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
