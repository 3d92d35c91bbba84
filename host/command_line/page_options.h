// The options of the command line that ask for a page.
#pragma once

#include "host/report/page.h"

namespace CLI {
class App;
}

namespace eishost {

// Adds --report and --stages. `options` outlives the parsing.
void addPageOptions(CLI::App& command, PageOptions& options);

}  // namespace eishost
