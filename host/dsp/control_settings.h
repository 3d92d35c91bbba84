// The strengths of the two table entries, as a user gives them.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "acore_api.h"

namespace eishost {

enum class TableKind { kFast, kShrink };

struct ControlKey {
    const char* name;
    double none;  // no correction: what a key has that is not given
    double min;   // outside min to max its tables are no curves; equal for a key without limits
    double max;
    bool integer;
    const char* meaning;
};

// The keys of an entry, in the order of its block.
std::span<const ControlKey> controlKeys(TableKind kind);
// Finds the kind and the place of a key, in any case of letters; false when neither kind has it.
bool findControlKey(const std::string& name, TableKind& kind, std::size_t& index);

struct ControlSettings {
    explicit ControlSettings(TableKind settingsKind);

    TableKind kind;
    std::vector<double> values;  // one for each key
};

// Takes "KEY=VALUE". HostError(kExitUsage) for an unknown key, with the nearest known one, and for a bad value.
void assignSetting(ControlSettings& settings, const std::string& assignment);

// One line for each value that is outside its limits.
std::vector<std::string> limitNotes(const ControlSettings& settings);

// "nrTH 40, nrUVRatio -60": the keys that differ from none, or "no correction".
std::string describeSettings(const ControlSettings& settings);

ST_FAST_DN2D_CONTROL fastBlock(const ControlSettings& settings, DeviceAddress tables);
ST_SHRINK_LUT_CONTROL shrinkBlock(const ControlSettings& settings, DeviceAddress tables);

}  // namespace eishost
