// The thresholds of ghost detection, as a user gives them.
#pragma once

#include <array>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace eislab {

struct GhostSettings {
    std::int32_t lumaLow, lumaHigh, lumaNoise;
    std::int32_t chromaLow, chromaHigh, chromaNoise;
    std::string source;  // of the thresholds, in words
};

// The thresholds of row `row` (1 to 8) of a tuning file, the luma ones from its _M keys when `motion` says so, with the
// KEY=VALUE words laid over them: lumaTH_Low, lumaTH_High, lumaNoiseTH and the same of chroma, in any case of letters.
// HostError as loadAcceptedFile, and kExitUsage for a word that is none.
GhostSettings ghostSettings(const std::string& tuningFile, int row, bool motion, const std::vector<std::string>& words);

void to_json(nlohmann::ordered_json& json, const GhostSettings& settings);

}  // namespace eislab
