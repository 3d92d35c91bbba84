#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "host/lab/commands.h"
#include "host/lab/setting_words.h"
#include "host/program/messages.h"
#include "host/report/control_plot.h"

namespace eislab {

namespace {

struct PlotArguments {
    std::vector<std::string> words;
    std::vector<std::string> against;
    std::string tables;
    std::string out;
};

eishost::PlottedTables plotted(eishost::TableKind kind, const std::vector<std::string>& words,
                               const std::string& name) {
    NamedSettings named = settingsFromWords(kind, words);
    for (const std::string& text : limitNotes(named.settings)) eishost::note(text);
    return {name, named.source, named.settings, computeTables(named.settings, nullptr, nullptr)};
}

void runPlot(const PlotArguments& arguments) {
    eishost::requireChartOutput(arguments.out);
    std::vector<std::string> all = arguments.words;
    all.insert(all.end(), arguments.against.begin(), arguments.against.end());
    eishost::TableKind kind = kindOfWords(all);
    if (!arguments.tables.empty()) {
        kind = arguments.tables == "shrink" ? eishost::TableKind::kShrink : eishost::TableKind::kFast;
    }
    std::vector<eishost::PlottedTables> settings;
    if (arguments.against.empty()) {
        settings.push_back(plotted(kind, arguments.words, ""));
    } else {
        settings.push_back(plotted(kind, arguments.words, "A"));
        settings.push_back(plotted(kind, arguments.against, "B"));
    }
    saveChart(arguments.out, controlChart(settings));
    std::cout << arguments.out << '\n';
}

}  // namespace

void addTablesCommand(CLI::App& app) {
    CLI::App* group = app.add_subcommand("tables", "The strength tables of the denoiser");
    group->require_subcommand(1);

    auto arguments = std::make_shared<PlotArguments>();
    CLI::App* plot = group->add_subcommand("plot", "Draws the curves of one setting, or of two laid over each other");
    plot->add_option("SETTING", arguments->words, "KEY=VALUE, a tuning file, iso=N for its row")->required();
    plot->add_option("--against", arguments->against, "The second setting, drawn dashed");
    plot->add_option("--tables", arguments->tables, "fast or shrink; by default what the keys belong to, else fast")
        ->check(CLI::IsMember({"fast", "shrink"}));
    plot->add_option("--out", arguments->out, "The .png to write")->required();
    plot->footer(
        "Strengths that are not given correct nothing; 'eis-host tables fast --help' lists the keys.\n\n"
        "  eis-lab tables plot nrUVRatio=-60 nrTH=80 --against nrUVRatio=-40 nrTH=120 --out both.png\n"
        "  eis-lab tables plot multiframe.xml iso=1 --against multiframe.xml iso=8 --out rows.png");
    plot->callback([arguments] { runPlot(*arguments); });
}

}  // namespace eislab
