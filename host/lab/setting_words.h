// Settings of the strength tables as words of a command line.
#pragma once

#include <string>
#include <vector>

#include "host/dsp/control_settings.h"

namespace eislab {

struct NamedSettings {
    eishost::ControlSettings settings;
    std::string source;  // the file and the row that they come from; empty without one
};

// The kind of tables that the keys among some words belong to; fast when there are none. HostError(kExitUsage) for keys
// of both.
eishost::TableKind kindOfWords(const std::vector<std::string>& words);

// Takes words one after the other: KEY=VALUE sets a strength, FILE takes strengths from a row of a tuning file, iso=N
// (1 to 8, 1 when not given) chooses the row.
//
// For fast tables a row of SFNoiseReduction gives luma, chroma, detail and shading to nrLumaRatio, nrUVRatio,
// nrLumaDetail and nrShadingStrength. For shrink tables a row of NoiseReduction gives lumaLF, lumaHF1 to lumaHF3 and
// detail to lumaRatio, shrinkRatio0 to shrinkRatio2 and lumaDetail. Which key feeds which strength is the DSP's affair,
// so this goes by their names and ranges.
NamedSettings settingsFromWords(eishost::TableKind kind, const std::vector<std::string>& words);

}  // namespace eislab
