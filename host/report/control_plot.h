// The control tables as a picture.
#pragma once

#include <string>
#include <vector>

#include "host/dsp/control_tables.h"
#include "host/picture/chart.h"

namespace eishost {

struct PlottedTables {
    std::string name;    // in the legend, when there is more than one
    std::string source;  // where the settings come from; may be empty
    ControlSettings settings;
    ControlTables tables;
};

// One setting, or two of one kind: the second is dashed. Curves that are equal are drawn and named once.
Chart controlChart(const std::vector<PlottedTables>& plotted);

// Throws what saveChart would throw as far as that can be known before the work.
void requireChartOutput(const std::string& path);

// Writes a PNG. HostError(kExitUsage) for another extension, HostError(kExitUnwritable) when it cannot be written.
void saveChart(const std::string& path, const Chart& chart);

}  // namespace eishost
