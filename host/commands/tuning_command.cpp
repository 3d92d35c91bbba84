#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "host/command_line/call_options.h"
#include "host/commands/commands.h"
#include "host/dsp/record_values.h"
#include "host/dsp/tuning_record.h"

namespace eishost {

namespace {

struct ShowArguments {
    std::string file;
    bool json = false;
    CallStreams show;
};

void runShow(const ShowArguments& arguments) {
    const ST_CONFIG_XML record = loadTuningRecord(arguments.file, arguments.show.trace, arguments.show.log);
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
    addCallStreams(*show, arguments->show);
    show->callback([arguments] { runShow(*arguments); });
}

}  // namespace eishost
