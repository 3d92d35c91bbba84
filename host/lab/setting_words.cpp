#include "host/lab/setting_words.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <optional>

#include "host/dsp/record_values.h"
#include "host/lab/tuning_file.h"
#include "host/program/exit_codes.h"

namespace eislab {

namespace {

using eishost::ControlSettings;
using eishost::HostError;
using eishost::TableKind;

// Which key of a row feeds which strength. The DSP decides that in the end: this goes by the names.
struct RowStrength {
    const char* section;
    const char* name;
    const char* strength;
};
constexpr RowStrength kFastRow[] = {{"SFNoiseReduction", "luma", "nrLumaRatio"},
                                    {"SFNoiseReduction", "chroma", "nrUVRatio"},
                                    {"SFNoiseReduction", "detail", "nrLumaDetail"},
                                    {"SFNoiseReduction", "shading", "nrShadingStrength"}};
constexpr RowStrength kShrinkRow[] = {{"NoiseReduction", "lumaLF", "lumaRatio"},
                                      {"NoiseReduction", "lumaHF1", "shrinkRatio0"},
                                      {"NoiseReduction", "lumaHF2", "shrinkRatio1"},
                                      {"NoiseReduction", "lumaHF3", "shrinkRatio2"},
                                      {"NoiseReduction", "detail", "lumaDetail"}};

std::string rowValue(const TuningFile& file, const char* section, const char* name, int iso) {
    const auto key = std::find_if(eis::kTuningKeys.begin(), eis::kTuningKeys.end(), [&](const eis::TuningKey& each) {
        return each.iso == iso && std::strcmp(each.section, section) == 0 && std::strcmp(each.name, name) == 0;
    });
    return eishost::recordText(file.record, *key);
}

void takeRow(NamedSettings& named, const std::string& fileName, int iso) {
    const TuningFile file = loadAcceptedFile(fileName);
    const bool fast = named.settings.kind == TableKind::kFast;
    const std::span<const RowStrength> row = fast ? std::span<const RowStrength>(kFastRow) : kShrinkRow;
    for (const RowStrength& each : row) {
        assignSetting(named.settings, std::string(each.strength) + "=" + rowValue(file, each.section, each.name, iso));
    }
    named.source = std::filesystem::path(fileName).filename().string() + ", " + row[0].section + "/ISO" +
                   std::to_string(iso) + " (" + rowValue(file, row[0].section, "isovalue", iso) + ")";
}

bool isRowWord(const std::string& word) {
    return word.starts_with("iso=");
}

int rowOf(const std::vector<std::string>& words) {
    int iso = 1;
    for (const std::string& word : words) {
        if (!isRowWord(word)) continue;
        if (word.size() != 5 || word[4] < '1' || word[4] > '8') {
            throw HostError(eishost::kExitUsage, "'" + word + "': want iso=1 to iso=8");
        }
        iso = word[4] - '0';
    }
    return iso;
}

}  // namespace

TableKind kindOfWords(const std::vector<std::string>& words) {
    std::optional<TableKind> kind;
    for (const std::string& word : words) {
        TableKind found{};
        std::size_t index = 0;
        const std::size_t equals = word.find('=');
        if (equals == std::string::npos || !eishost::findControlKey(word.substr(0, equals), found, index)) continue;
        if (kind.has_value() && *kind != found) {
            throw HostError(eishost::kExitUsage, "'" + word + "' and a key before it belong to different tables");
        }
        kind = found;
    }
    return kind.value_or(TableKind::kFast);
}

NamedSettings settingsFromWords(TableKind kind, const std::vector<std::string>& words) {
    NamedSettings named{ControlSettings(kind), ""};
    const int iso = rowOf(words);
    for (const std::string& word : words) {
        if (isRowWord(word)) continue;
        if (word.find('=') == std::string::npos) {
            takeRow(named, word, iso);
        } else {
            assignSetting(named.settings, word);
        }
    }
    return named;
}

}  // namespace eislab
