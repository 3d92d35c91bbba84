// Where the settings of a row stand in a tuning file.
#pragma once

#include <map>
#include <string>

namespace eishost {

// The lines, from 1, of the keys of a row of NoiseReduction; where a name comes twice the first one counts, as it does
// for the library. Keys that are missing have none, and so have those behind a place that is no well-formed XML: the
// library reads some files that are not.
std::map<std::string, int> tuningLines(const std::string& file, int row);

}  // namespace eishost
