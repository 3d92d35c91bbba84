#include "host/lab/ghost_settings.h"

#include <strings.h>

#include <charconv>
#include <filesystem>

#include "host/lab/tuning_file.h"
#include "host/program/exit_codes.h"
#include "host/program/nearest_name.h"

namespace eislab {

namespace {

using eishost::HostError;

struct GhostKey {
    const char* name;
    std::int32_t GhostSettings::*value;
};
constexpr GhostKey kKeys[] = {
    {"lumaTH_Low", &GhostSettings::lumaLow},       {"lumaTH_High", &GhostSettings::lumaHigh},
    {"lumaNoiseTH", &GhostSettings::lumaNoise},    {"chromaTH_Low", &GhostSettings::chromaLow},
    {"chromaTH_High", &GhostSettings::chromaHigh}, {"chromaNoiseTH", &GhostSettings::chromaNoise}};

GhostSettings settingsOfRow(const std::string& fileName, int row, bool motion) {
    const TuningFile file = loadAcceptedFile(fileName);
    const ST_CONFIG_XML_ISO& iso = file.record.astIso[row - 1];
    GhostSettings settings{
        iso.lumaTH_Low, iso.lumaTH_High, iso.lumaNoiseTH, iso.chromaTH_Low, iso.chromaTH_High, iso.chromaNoiseTH, ""};
    if (motion) {
        settings.lumaLow = iso.lumaTH_Low_M;
        settings.lumaHigh = iso.lumaTH_High_M;
        settings.lumaNoise = iso.lumaNoiseTH_M;
    }
    settings.source = std::filesystem::path(fileName).filename().string() + ", GhostDetection/ISO" +
                      std::to_string(row) + (motion ? ", _M keys" : "");
    return settings;
}

void assignWord(GhostSettings& settings, const std::string& word) {
    const std::size_t equals = word.find('=');
    if (equals == std::string::npos) throw HostError(eishost::kExitUsage, "'" + word + "': want KEY=VALUE");
    const std::string name = word.substr(0, equals);
    std::vector<std::string> known;
    for (const GhostKey& key : kKeys) {
        known.emplace_back(key.name);
        if (strcasecmp(name.c_str(), key.name) != 0) continue;
        const char* const end = word.data() + word.size();
        const auto [stop, error] = std::from_chars(word.data() + equals + 1, end, settings.*key.value);
        if (error == std::errc() && stop == end) return;
        throw HostError(eishost::kExitUsage, "'" + word + "': want " + key.name + "=a whole number");
    }
    const std::string nearest = eishost::nearestName(name, known);
    throw HostError(eishost::kExitUsage,
                    "unknown key '" + name + "'" +
                        (nearest.empty() ? "; ghost --help lists the keys" : ", did you mean " + nearest + "?"));
}

}  // namespace

GhostSettings ghostSettings(const std::string& tuningFile, int row, bool motion,
                            const std::vector<std::string>& words) {
    GhostSettings settings = settingsOfRow(tuningFile, row, motion);
    for (const std::string& word : words) {
        assignWord(settings, word);
        settings.source += ", " + word;
    }
    return settings;
}

void to_json(nlohmann::ordered_json& json, const GhostSettings& settings) {
    for (const GhostKey& key : kKeys) json[key.name] = settings.*key.value;
    json["source"] = settings.source;
}

}  // namespace eislab
