// The values of a tuning record by their keys. Needs the table of keys, which is data, and nothing of the library.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "config/tuning_keys.h"

namespace eishost {

// The key without the part that all have in common: "NoiseReduction/ISO1/lumaMed".
std::string_view shortPath(const eis::TuningKey& key);

// The value that the record holds for the key: a number, or an array of them.
nlohmann::ordered_json recordValue(const ST_CONFIG_XML& record, const eis::TuningKey& key);

// The same as a tuning file spells it: numbers with blanks between them. A float is the shortest text that reads back
// as the same float.
std::string recordText(const ST_CONFIG_XML& record, const eis::TuningKey& key);

// The whole record as sections, levels and keys.
nlohmann::ordered_json recordJson(const ST_CONFIG_XML& record);

}  // namespace eishost
