#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "host/commands/commands.h"
#include "host/dsp/record_values.h"
#include "host/dsp/tuning_record.h"

namespace eishost {

namespace {

struct ShowArguments {
    std::string file;
    bool json = false;
    bool trace = false;
    bool log = false;
};

void runShow(const ShowArguments& arguments) {
    const ST_CONFIG_XML record =
        loadTuningRecord(arguments.file, arguments.trace ? &std::cerr : nullptr, arguments.log ? &std::cerr : nullptr);
    if (arguments.json) {
        std::cout << recordJson(record).dump() << '\n';
        return;
    }
    for (const eis::TuningKey& key : eis::kTuningKeys) {
        std::cout << shortPath(key) << " = " << recordText(record, key) << '\n';
    }
}

}  // namespace

void addTuningCommand(CLI::App& app) {
    CLI::App* group = app.add_subcommand("tuning", "The tuning file as the DSP gets it");
    group->require_subcommand(1);
    auto arguments = std::make_shared<ShowArguments>();
    CLI::App* show = group->add_subcommand("show", "Loads a file with ParseXML_AcoreAPI_EIS and prints the record");
    show->add_option("FILE", arguments->file, "The tuning file")->required();
    show->add_flag("--json", arguments->json, "As JSON: sections, ISO levels, keys");
    show->add_flag("--trace", arguments->trace, "Print each address conversion and flush to stderr");
    show->add_flag("--log", arguments->log, "Print the library's log to stderr");
    show->callback([arguments] { runShow(*arguments); });
}

}  // namespace eishost
