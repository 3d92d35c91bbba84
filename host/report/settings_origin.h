// Where each setting of a denoise call came from.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "host/dsp/denoise_settings.h"

namespace eishost {

struct SettingsSource {
    std::string file;                      // tuning file; empty for none
    std::optional<int> row;                // of it
    std::vector<std::string> assignments;  // KEY=VALUE of the command line, which come first
};

// A list of {"key", "value", "origin", "meaning"}: "multiframe.xml, line 83", "multiframe.xml, lines 83 and 99",
// "command line", or that it was not given.
nlohmann::json settingsOrigins(const DenoiseSettings& settings, const SettingsSource& source);

}  // namespace eishost
