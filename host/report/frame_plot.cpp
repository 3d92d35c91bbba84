#include "host/report/frame_plot.h"

#include <algorithm>
#include <cmath>

#include "host/report/page_plot.h"
#include "host/report/page_view.h"

namespace eishost {

namespace {

using nlohmann::json;

constexpr PlotArea kFrameArea{.left = 56, .right = 628, .top = 10, .bottom = 178};
constexpr std::size_t kMostPoints = 1200;  // of a line: two for each unit across

// The range that the lines fill, to whole ticks.
struct Axis {
    double low;
    double high;
    double step;

    Axis(double least, double most) {
        const double span = std::max(most - least, 1e-3);
        step = tickStep(span);
        low = std::floor(least / step) * step;
        high = std::max(std::ceil(most / step) * step, low + step);
    }

    double at(double value, double first, double last) const {
        return first + (last - first) * (value - low) / (high - low);
    }
};

Axis valueAxis(const std::vector<FrameLine>& lines) {
    double least = lines.front().values.front();
    double most = least;
    for (const FrameLine& line : lines) {
        const auto [low, high] = std::minmax_element(line.values.begin(), line.values.end());
        least = std::min(least, *low);
        most = std::max(most, *high);
    }
    return {least, most};
}

int digitsFor(double step) {
    return std::clamp(static_cast<int>(std::ceil(-std::log10(step))), 0, 4);
}

}  // namespace

json framePlot(const std::string& title, const std::vector<FrameLine>& lines, const std::vector<std::size_t>& scenes) {
    const std::size_t frames = lines.front().values.size();
    const double last = std::max<double>(1, static_cast<double>(frames) - 1);
    const Axis axis = valueAxis(lines);
    const auto xOf = [&](double frame) {
        return fixedText(kFrameArea.left + (kFrameArea.right - kFrameArea.left) * frame / last, 1);
    };
    const auto yOf = [&](double value) { return axis.at(value, kFrameArea.bottom, kFrameArea.top); };

    json plot{{"title", title},
              {"lines", json::array()},
              {"xTicks", json::array()},
              {"yTicks", json::array()},
              {"marks", json::array()}};
    const double step = std::max(1.0, tickStep(last));
    for (int i = 0; i * step <= last; ++i) {
        plot["xTicks"].push_back({{"at", xOf(i * step)}, {"text", fixedText(i * step, 0)}});
    }
    for (int i = 0; axis.low + i * axis.step <= axis.high + axis.step / 2; ++i) {
        // A tick at 0 may miss it by a rounding, which would show as -0.
        const double value = axis.low + i * axis.step;
        const double tick = std::abs(value) < axis.step / 2 ? 0 : value;
        plot["yTicks"].push_back({{"at", fixedText(yOf(tick), 1)},
                                  {"textAt", fixedText(yOf(tick) + 4, 1)},
                                  {"text", fixedText(tick, digitsFor(axis.step))}});
    }
    for (const std::size_t scene : scenes) {
        if (scene > 0) plot["marks"].push_back({{"at", xOf(static_cast<double>(scene) - 0.5)}});
    }
    const std::size_t stride = (frames + kMostPoints - 1) / kMostPoints;
    for (const FrameLine& line : lines) {
        json shown{{"key", line.key}, {"title", line.title}, {"pieces", json::array()}};
        for (std::size_t scene = 0; scene < scenes.size(); ++scene) {
            const std::size_t end = scene + 1 < scenes.size() ? scenes[scene + 1] : frames;
            std::string points;
            for (std::size_t frame = scenes[scene]; frame < end; frame += stride) {
                if (!points.empty()) points += ' ';
                points.append(xOf(static_cast<double>(frame)))
                    .append(",")
                    .append(fixedText(yOf(line.values[frame]), 1));
            }
            shown["pieces"].push_back({{"points", points}});
        }
        plot["lines"].push_back(std::move(shown));
    }
    return plot;
}

}  // namespace eishost
