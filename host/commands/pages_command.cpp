#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>

#include "host/commands/commands.h"
#include "host/program/output_file.h"
#include "host/report/page_index.h"

namespace eishost {

namespace {

struct PagesArguments {
    std::vector<std::string> folders;
    std::string output;
    std::string title = "Bursts";
};

}  // namespace

void addPagesCommand(CLI::App& app) {
    auto arguments = std::make_shared<PagesArguments>();
    CLI::App* command = app.add_subcommand("pages", "Writes one page over those of --report");
    command->add_option("FOLDERS", arguments->folders, "Folders that --report has filled")->required();
    command->add_option("--out", arguments->output, "The page, .html")->required();
    command->add_option("--title", arguments->title, "Its title")->capture_default_str();
    command->footer("  eis-host pages a/page b/page --out index.html");
    command->callback([arguments] {
        requireWritable(arguments->output);
        savePageIndex(arguments->output, arguments->title, arguments->folders);
        std::printf("%zu pages are in %s\n", arguments->folders.size(), arguments->output.c_str());
    });
}

}  // namespace eishost
