#include "host/lab/ghost_settings.h"

#include <filesystem>

#include "host/lab/tuning_file.h"
#include "host/program/key_value.h"

namespace eislab {

namespace {

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

}  // namespace

GhostSettings ghostSettings(const std::string& tuningFile, int row, bool motion,
                            const std::vector<std::string>& words) {
    GhostSettings settings = settingsOfRow(tuningFile, row, motion);
    for (const std::string& word : words) {
        const eishost::KeyValue assignment(word);
        const GhostKey& key = assignment.among(kKeys);
        settings.*key.value = assignment.wholeNumber(key.name);
        settings.source += ", " + word;
    }
    return settings;
}

void to_json(nlohmann::ordered_json& json, const GhostSettings& settings) {
    for (const GhostKey& key : kKeys) json[key.name] = settings.*key.value;
    json["source"] = settings.source;
}

}  // namespace eislab
