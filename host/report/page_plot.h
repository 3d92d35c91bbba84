// The plot of noise by brightness on the page, and what plots share.
#pragma once

#include <nlohmann/json.hpp>

namespace eishost {

// Where the lines are drawn, in units of the drawing, whose size the template tells.
struct PlotArea {
    double left;
    double right;
    double top;
    double bottom;
};

// A step between ticks that makes 3 to 6 of them over a span: 1, 2 or 5 times a power of ten.
double tickStep(double span);

// Lines, ticks and a legend for the template to draw as SVG; `versions` are those of the page, of which the truth has
// no line. False where there is nothing to draw.
nlohmann::json noisePlot(const nlohmann::json& versions);

}  // namespace eishost
