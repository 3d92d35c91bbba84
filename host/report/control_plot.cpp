#include "host/report/control_plot.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "host/picture/picture.h"
#include "host/program/exit_codes.h"

namespace eishost {

namespace {

struct PanelPlan {
    const char* title;
    const char* xLabel;
    const char* yLabel;
    const char* guide;  // what a correction in full, or none, would be
    std::vector<const char*> tables;
    bool taken = false;  // not the table's value but what it takes away from the input
};

const TableLayout& layoutOf(TableKind kind, std::string_view name) {
    const auto layouts = tableLayouts(kind);
    return *std::find_if(layouts.begin(), layouts.end(), [&](const TableLayout& table) { return table.name == name; });
}

// The half of a table that answers inputs from 0 on; the other half is its mirror image.
std::vector<cv::Point2d> curvePoints(const PlottedTables& plotted, const TableLayout& table, bool taken) {
    std::vector<cv::Point2d> points;
    // The chroma tables end with a zero that is no part of the curve.
    const int inputs = table.zero == 0 ? table.entries - 1 : table.entries - table.zero;
    for (int input = 0; input < inputs; ++input) {
        const double value = plotted.tables.at(table, input) / static_cast<double>(table.scale);
        points.emplace_back(input, taken ? input - value : value);
    }
    return points;
}

// A curve, and all that it is the curve of: the settings of each table.
struct Curve {
    Series series;
    std::vector<std::pair<std::string, std::string>> tables = {};  // label, settings as "A = B"
};

void addTable(Curve& curve, const std::string& label, const std::string& setting) {
    const auto same =
        std::find_if(curve.tables.begin(), curve.tables.end(), [&](const auto& table) { return table.first == label; });
    if (same == curve.tables.end()) {
        curve.tables.emplace_back(label, setting);
    } else {
        same->second += " = " + setting;
    }
}

// "luma, A = B"; "luma = luma with gain, A" where both have the same settings, else "shrink 0, B = shrink 1, A = B".
std::string nameOf(const Curve& curve) {
    const std::string& settings = curve.tables.front().second;
    const bool shared = std::all_of(curve.tables.begin(), curve.tables.end(),
                                    [&](const auto& table) { return table.second == settings; });
    std::string name;
    for (const auto& [label, own] : curve.tables) {
        name += (name.empty() ? "" : " = ") + label + (shared ? "" : ", " + own);
    }
    return name + (shared && !settings.empty() ? ", " + settings : "");
}

Panel tablePanel(const PanelPlan& plan, const std::vector<PlottedTables>& plotted) {
    Panel panel;
    panel.title = plan.title;
    panel.xLabel = plan.xLabel;
    panel.yLabel = plan.yLabel;
    panel.maxY = 0;
    std::vector<Curve> curves;
    for (std::size_t setting = 0; setting < plotted.size(); ++setting) {
        int color = 0;
        for (const char* name : plan.tables) {
            const TableLayout& table = layoutOf(plotted[setting].settings.kind, name);
            std::vector<cv::Point2d> points = curvePoints(plotted[setting], table, plan.taken);
            for (const cv::Point2d& point : points) {
                panel.maxX = std::max(panel.maxX, point.x);
                panel.maxY = std::max(panel.maxY, point.y);
            }
            auto curve = std::find_if(curves.begin(), curves.end(),
                                      [&](const Curve& other) { return other.series.points == points; });
            if (curve == curves.end()) {
                const LineStyle style = setting > 0 ? LineStyle::kDashed : LineStyle::kSolid;
                curve = curves.insert(curve, Curve{{"", std::move(points), chartColor(color), style}, {}});
            }
            addTable(*curve, table.label, plotted[setting].name);
            ++color;
        }
    }
    for (Curve& curve : curves) {
        curve.series.name = nameOf(curve);
        panel.series.push_back(std::move(curve.series));
    }
    if (panel.maxY <= 0) {
        panel.message = "no correction";
        panel.maxY = 1;
        return panel;
    }
    panel.maxY *= 1.08;
    panel.guides.push_back({plan.guide, {{0, 0}, {panel.maxX, panel.maxX}}, cv::Scalar::all(150)});
    return panel;
}

}  // namespace

Chart controlChart(const std::vector<PlottedTables>& plotted) {
    static const PanelPlan kFastPanels[] = {
        {"Luma", "luma difference (steps)", "correction (steps)", "corrected in full", {"luma", "lumaGain"}},
        {"Chroma",
         "chroma difference (steps)",
         "correction (steps)",
         "corrected in full",
         {"chroma", "chromaSoft", "shading", "shadingSoft"}},
        {"Threshold", "difference (steps)", "correction (steps)", "corrected in full", {"threshold"}},
        {"Tail", "difference (steps)", "correction (steps)", "corrected in full", {"tail"}}};
    static const PanelPlan kShrinkPanels[] = {
        {"Detail shrink",
         "detail coefficient",
         "what is left of it",
         "left as it is",
         {"shrink0", "shrink1", "shrink2"}},
        {"Detail taken out",
         "detail coefficient",
         "what is taken from it",
         "taken in full",
         {"shrink0", "shrink1", "shrink2"},
         true},
        {"Luma", "luma difference (steps)", "correction (steps)", "corrected in full", {"luma", "lumaGain"}}};

    const PlottedTables& first = plotted.front();
    Chart chart;
    if (first.settings.kind == TableKind::kFast) {
        chart.title = "Control tables of the fast denoiser";
        for (const PanelPlan& plan : kFastPanels) chart.panels.push_back(tablePanel(plan, plotted));
    } else {
        chart.title = "Shrink tables";
        for (const PanelPlan& plan : kShrinkPanels) chart.panels.push_back(tablePanel(plan, plotted));
    }
    for (const PlottedTables& each : plotted) {
        chart.notes.push_back((each.name.empty() ? "" : each.name + ": ") +
                              (each.source.empty() ? "" : each.source + ": ") + describeSettings(each.settings));
    }
    return chart;
}

void requireChartOutput(const std::string& path) {
    if (!path.ends_with(".png")) throw HostError(kExitUsage, path + ": the plot is a .png");
    requireBgrOutput(path);
}

void saveChart(const std::string& path, const Chart& chart) {
    requireChartOutput(path);
    saveBgr(path, drawChart(chart));
}

}  // namespace eishost
