// The subcommands of eis-lab. Each function adds one group to the command line, with callbacks that run it; a callback
// reports failure by throwing HostError, or CLI::RuntimeError for an exit code without a message.
#pragma once

namespace CLI {
class App;
}

namespace eislab {

void addBlockCommand(CLI::App& app);
void addGhostCommand(CLI::App& app);
void addGpuCommand(CLI::App& app);
void addLogCommand(CLI::App& app);
void addStagesCommand(CLI::App& app);
void addTablesCommand(CLI::App& app);
void addTuningCommand(CLI::App& app);

}  // namespace eislab
