#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "host/command_line/call_options.h"
#include "host/commands/commands.h"
#include "host/dsp/control_tables.h"
#include "host/program/messages.h"
#include "host/report/control_plot.h"

namespace eishost {

namespace {

struct TablesArguments {
    std::vector<std::string> assignments;
    bool json = false;
    bool csv = false;
    std::string plot;
    CallStreams show;
};

nlohmann::ordered_json tablesJson(const ControlSettings& settings, const ControlTables& tables) {
    nlohmann::ordered_json block = nlohmann::ordered_json::object();
    const auto keys = controlKeys(settings.kind);
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (keys[i].integer) {
            block[keys[i].name] = static_cast<std::int64_t>(settings.values[i]);
        } else {
            block[keys[i].name] = settings.values[i];
        }
    }
    nlohmann::ordered_json all = nlohmann::ordered_json::object();
    for (const TableLayout& table : tableLayouts(settings.kind)) {
        const auto first = tables.block.begin() + table.first;
        all[table.name] = {{"firstEntry", table.first},
                           {"zeroInput", table.zero},
                           {"step", table.scale},
                           {"values", std::vector<std::int16_t>(first, first + table.entries)}};
    }
    return {{"entry", tables.entry}, {"milliseconds", tables.milliseconds}, {"block", block}, {"tables", all}};
}

// One row for each input, an empty field where a table has no entry for it.
void printCsv(TableKind kind, const ControlTables& tables) {
    int first = 0;
    int last = 0;
    std::cout << "input";
    for (const TableLayout& table : tableLayouts(kind)) {
        std::cout << ',' << table.name;
        first = std::min(first, -table.zero);
        last = std::max(last, table.entries - table.zero - 1);
    }
    std::cout << '\n';
    for (int input = first; input <= last; ++input) {
        std::cout << input;
        for (const TableLayout& table : tableLayouts(kind)) {
            std::cout << ',';
            if (input >= -table.zero && input < table.entries - table.zero) std::cout << tables.at(table, input);
        }
        std::cout << '\n';
    }
}

// A few rows for a person: values in steps.
void printSummary(const ControlSettings& settings, const ControlTables& tables) {
    const bool fast = settings.kind == TableKind::kFast;
    std::printf("%s: %s, %.1f ms\n\n", tables.entry, describeSettings(settings).c_str(), tables.milliseconds);
    std::printf("%7s", "input");
    const auto layouts = tableLayouts(settings.kind);
    for (const TableLayout& table : layouts) std::printf("%16s", table.label);
    std::printf("\n");
    for (const int input : {0, 1, 2, 4, 8, 16, 32, 64, 96, 120, 127, 192, 254, 384, 511}) {
        if (fast && input > 254) break;
        std::printf("%7d", input);
        for (const TableLayout& table : layouts) {
            if (input >= table.entries - table.zero) {
                std::printf("%16s", "");
            } else if (table.scale == 1) {
                std::printf("%16d", tables.at(table, input));
            } else {
                std::printf("%16.2f", tables.at(table, input) / static_cast<double>(table.scale));
            }
        }
        std::printf("\n");
    }
}

void runTables(TableKind kind, const TablesArguments& arguments) {
    if (!arguments.plot.empty()) requireChartOutput(arguments.plot);
    ControlSettings settings(kind);
    for (const std::string& assignment : arguments.assignments) assignSetting(settings, assignment);
    for (const std::string& text : limitNotes(settings)) note(text);
    const ControlTables tables = computeTables(settings, arguments.show.trace, arguments.show.log);
    if (arguments.json) {
        std::cout << tablesJson(settings, tables).dump() << '\n';
    } else if (arguments.csv) {
        printCsv(kind, tables);
    } else if (!arguments.plot.empty()) {
        saveChart(arguments.plot, controlChart({{"", "", settings, tables}}));
        std::cout << arguments.plot << '\n';
    } else {
        printSummary(settings, tables);
    }
}

void addTablesKind(CLI::App& parent, const char* name, const char* description, TableKind kind) {
    auto arguments = std::make_shared<TablesArguments>();
    CLI::App* command = parent.add_subcommand(name, description);
    command->add_option("KEY=VALUE", arguments->assignments, "Strengths; one that is not given corrects nothing");
    CLI::Option* json = command->add_flag("--json", arguments->json, "Every table as JSON");
    CLI::Option* csv = command->add_flag("--csv", arguments->csv, "Every table as CSV, one row for each input");
    command->add_option("--plot", arguments->plot, "Draw the curves into this .png")->excludes(json)->excludes(csv);
    json->excludes(csv);
    addCallStreams(*command, arguments->show);
    std::string keys = "Keys:";
    for (const ControlKey& key : controlKeys(kind)) {
        keys += "\n  " + std::string(key.name) + std::string(18 - std::strlen(key.name), ' ') + key.meaning;
    }
    command->footer(keys);
    command->callback([arguments, kind] { runTables(kind, *arguments); });
}

}  // namespace

void addTablesCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("tables", "Computes the denoiser's strength tables");
    command->require_subcommand(1);
    command->footer(
        "  eis-host tables fast nrUVRatio=-60 nrTH=80 --plot chroma.png\n"
        "  eis-host tables shrink shrinkRatio0=-90 --csv > shrink.csv");
    addTablesKind(*command, "fast", "Tables of the fast denoiser, with CalcFastDn2dControl_AcoreAPI", TableKind::kFast);
    addTablesKind(*command, "shrink", "Shrink tables and luma curves, with CalcShrinkLUTDnCoef", TableKind::kShrink);
}

}  // namespace eishost
