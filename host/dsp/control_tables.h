// The two table entries as a host calls them, and the tables that they leave.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>
#include <vector>

#include "host/dsp/control_settings.h"

namespace eishost {

// One table inside the block that an entry fills.
struct TableLayout {
    const char* name;   // as JSON and CSV spell it
    const char* label;  // as a person reads it
    int first;          // entry of the block
    int entries;
    int zero;   // entry of the table that answers a zero input
    int scale;  // table value of one step: 32 with five fractional bits
};

std::span<const TableLayout> tableLayouts(TableKind kind);

struct ControlTables {
    const char* entry = "";  // name of the entry that ran
    double milliseconds = 0;
    std::vector<std::int16_t> block;  // as the DSP sees it

    std::int16_t at(const TableLayout& table, int input) const { return block[table.first + table.zero + input]; }
};

// Runs the entry for the settings. `trace` and `log`, when not null, get the arena's and the library's lines.
// HostError(kExitLibrary) when the entry fails.
ControlTables computeTables(const ControlSettings& settings, std::ostream* trace, std::ostream* log);

}  // namespace eishost
