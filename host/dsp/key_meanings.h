// What each key of the tuning file and of a denoise call means: the one description behind the tuning template, the
// page of keys, the help of the commands, and the notes on values.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "config/tuning_keys.h"

namespace eishost {

// The section of keys that are in no file, only in the parameters of a denoise call.
inline constexpr char kCallSection[] = "DenoiseCall";

struct KeyMeaning {
    const char* section;
    const char* name;  // without the "_M" or "_BN" of a further set
    const char* unit;  // empty for a plain number
    double low;        // values from low to high are useful, those beyond have no effect of their own, or none that
    double high;       // anyone wants; an infinity where there is no such end
    const char* meaning;

    bool isUseful(double value) const { return value >= low && value <= high; }
    // "-100 to 0", "0 up", "any".
    std::string range() const;
};

std::span<const KeyMeaning> keyMeanings();

// The name without the ending of a further set, and the ending: "_M", "_BN" or "".
struct KeySet {
    std::string_view name;
    std::string_view ending;
};
KeySet keySet(std::string_view name);

// Of a key that there is, with or without such an ending.
const KeyMeaning& meaningOf(std::string_view section, std::string_view name);

// One line on a value that is not useful.
std::optional<std::string> rangeNote(std::string_view section, std::string_view name, double value);

// The rows of a section, 2 to 8, whose isovalue is not above that of the row before. Defaults are never out of order
// among themselves: those of SFNoiseReduction are all equal.
std::vector<int> rowsOutOfOrder(const ST_CONFIG_XML& record, std::string_view section);

}  // namespace eishost
