#include "host/report/page_plot.h"

#include <algorithm>
#include <cmath>

#include "host/report/page_view.h"

namespace eishost {

namespace {

using nlohmann::json;

constexpr PlotArea kNoiseArea{.left = 48, .right = 628, .top = 12, .bottom = 268};
constexpr double kBrightest = 256;

double xOf(double brightness) {
    return kNoiseArea.left + (kNoiseArea.right - kNoiseArea.left) * brightness / kBrightest;
}

}  // namespace

double tickStep(double span) {
    const double power = std::pow(10, std::floor(std::log10(span / 3)));
    const double share = span / 3 / power;
    return power * (share >= 5 ? 5 : share >= 2 ? 2 : 1);
}

json noisePlot(const json& versions) {
    double highest = 0;
    for (const json& version : versions) {
        for (const json& point : version.value("noise", json::array())) {
            highest = std::max(highest, point.at("sigma").get<double>());
        }
    }
    if (highest <= 0) return false;
    const double step = tickStep(highest);
    const double most = std::ceil(highest / step) * step;
    const auto yOf = [&](double sigma) {
        return kNoiseArea.bottom - (kNoiseArea.bottom - kNoiseArea.top) * sigma / most;
    };

    json plot{{"lines", json::array()}, {"xTicks", json::array()}, {"yTicks", json::array()}};
    for (int brightness = 0; brightness <= kBrightest; brightness += 64) {
        plot["xTicks"].push_back(
            {{"at", fixedText(xOf(brightness), 1)}, {"text", std::to_string(std::min(brightness, 255))}});
    }
    for (int tick = 0; tick * step <= most * 1.001; ++tick) {
        plot["yTicks"].push_back({{"at", fixedText(yOf(tick * step), 1)},
                                  {"textAt", fixedText(yOf(tick * step) + 4, 1)},
                                  {"text", fixedText(tick * step, step < 1 ? 1 : 0)}});
    }
    for (const json& version : versions) {
        if (!version.contains("noise") || version["noise"].empty()) continue;
        json line{{"key", version.at("key")}, {"title", version.at("title")}, {"dots", json::array()}};
        std::string points;
        for (const json& point : version["noise"]) {
            const std::string x = fixedText(xOf(point.at("brightness")), 1);
            const std::string y = fixedText(yOf(point.at("sigma")), 1);
            if (!points.empty()) points += ' ';
            points.append(x).append(",").append(y);
            line["dots"].push_back(
                {{"x", x},
                 {"y", y},
                 {"tip", version.at("title").get<std::string>() + ", brightness " +
                             fixedText(point.at("brightness"), 0) + ": " + fixedText(point.at("sigma"), 2)}});
        }
        line["points"] = points;
        plot["lines"].push_back(line);
    }
    return plot;
}

}  // namespace eishost
