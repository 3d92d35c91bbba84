#include "host/report/settings_origin.h"

#include <strings.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>

#include "host/dsp/key_meanings.h"
#include "host/dsp/tuning_lines.h"

namespace eishost {

nlohmann::json settingsOrigins(const DenoiseSettings& settings, const SettingsSource& source) {
    constexpr char kLut[] = "chromaNrLUT";
    const std::string file = std::filesystem::path(source.file).filename().string();
    std::vector<std::map<std::string, int>> rows;
    if (source.row) {
        const int below = static_cast<int>(std::floor(*source.row));
        rows.push_back(tuningLines(source.file, below));
        if (below < *source.row) rows.push_back(tuningLines(source.file, below + 1));
    }
    const auto linesOf = [&](const std::string& key) {
        std::string text;
        for (const std::map<std::string, int>& lines : rows) {
            const auto line = lines.find(key);
            if (line != lines.end()) text.append(text.empty() ? "" : " and ").append(std::to_string(line->second));
        }
        return text;
    };
    const auto origin = [&](const std::string& key, bool inRow) -> std::string {
        const bool assigned =
            std::any_of(source.assignments.begin(), source.assignments.end(), [&](const std::string& word) {
                return word.size() > key.size() && word[key.size()] == '=' &&
                       strncasecmp(word.c_str(), key.c_str(), key.size()) == 0;
            });
        if (assigned) return "command line";
        if (!source.row || !inRow) return "not given";
        const std::string lines = linesOf(key);
        if (lines.empty()) return file + ": not in the row";
        return file + (lines.find(' ') == std::string::npos ? ", line " : ", lines ") + lines;
    };
    nlohmann::json list = nlohmann::json::array();
    const auto add = [&](const char* section, const char* name, const std::string& value, bool inRow) {
        const KeyMeaning& meaning = meaningOf(section, name);
        list.push_back({{"key", name},
                        {"value", value},
                        {"unit", meaning.unit},
                        {"range", meaning.range()},
                        {"meaning", meaning.meaning},
                        {"origin", origin(name, inRow)}});
    };
    for (const DenoiseKey& key : denoiseKeys()) {
        add(key.section(), key.name, std::to_string(settings.*key.value), key.inRow);
    }
    std::string words;
    for (const std::uint32_t word : settings.chromaNrLUT)
        words.append(words.empty() ? "" : " ").append(std::to_string(word));
    add("NoiseReduction", kLut, words, true);
    return list;
}

}  // namespace eishost
