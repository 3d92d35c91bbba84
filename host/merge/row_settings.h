// Denoise settings between the rows of a tuning file.
#pragma once

#include "acore_api.h"
#include "host/dsp/denoise_settings.h"

namespace eishost {

// The row, 1 to 8 and anything between, of frames whose luma noise has this standard deviation, in levels: as the
// shipped tuning file has its rows.
double rowForNoise(double sigma);

// What lies at `row` between two rows of a record, 1 to 8. Chroma thresholds are interpolated in levels, not as the
// words that spell them.
DenoiseSettings settingsAt(const ST_CONFIG_XML& record, double row);

}  // namespace eishost
