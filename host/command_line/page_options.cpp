#include "host/command_line/page_options.h"

#include <CLI/CLI.hpp>

namespace eishost {

void addPageOptions(CLI::App& command, PageOptions& options) {
    CLI::Option* const report =
        command.add_option("--report", options.folder,
                           "Folder for a page, index.html with its pictures, that shows before and after, frames,\n"
                           "figures and settings in a browser");
    command.add_option("--stages", options.stages, "Folder of eis-lab stages, to be shown on the page")->needs(report);
}

}  // namespace eishost
