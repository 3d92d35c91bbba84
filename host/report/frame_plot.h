// Plots of what changes from frame to frame of a clip.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace eishost {

struct FrameLine {
    std::string key;  // of its colour
    std::string title;
    std::vector<double> values;  // one a frame
};

// Lines, ticks and a legend for the template to draw as SVG, where frames of `scenes`, each of which begins a line
// anew, have a mark. The lines are of one length, at least 1; the first scene begins with frame 0.
nlohmann::json framePlot(const std::string& title, const std::vector<FrameLine>& lines,
                         const std::vector<std::size_t>& scenes);

}  // namespace eishost
