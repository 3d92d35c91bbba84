// What eis-host and eis-lab have in common as programs.
#pragma once

namespace CLI {
class App;
}

namespace eishost {

// Runs a command line and returns the exit code; addCommands adds the program's commands. Beside them there are
// --version, "help" in front of or behind a command, the list of exit codes, the nearest name for a misspelt command or
// option. Every error is one line on standard error that begins with the tool's name.
int runTool(const char* description, void (*addCommands)(CLI::App&), int argc, char** argv);

}  // namespace eishost
