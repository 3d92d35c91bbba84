#include <CLI/CLI.hpp>

#include "host/commands.h"

namespace eishost {

void addSynthCommand(CLI::App& app) {
    app.add_subcommand("synth", "Makes a burst with ground truth from one photograph");
}

}  // namespace eishost
