// The plot of noise by brightness on the page.
#pragma once

#include <nlohmann/json.hpp>

namespace eishost {

// Lines, ticks and a legend for the template to draw as SVG; `versions` are those of the page, of which the truth has
// no line. False where there is nothing to draw.
nlohmann::json noisePlot(const nlohmann::json& versions);

}  // namespace eishost
