// The subcommands of eis-host. Each function adds one to the command line, with a callback that runs it; a callback
// reports failure by throwing HostError, or CLI::RuntimeError for an exit code without a message.
#pragma once

namespace CLI {
class App;
}

namespace eishost {

void addBurstCommand(CLI::App& app);
void addDenoiseCommand(CLI::App& app);
void addMergeCommand(CLI::App& app);
void addPagesCommand(CLI::App& app);
void addRegisterCommand(CLI::App& app);
void addReplayCommand(CLI::App& app);
void addScaleCommand(CLI::App& app);
void addSearchCommand(CLI::App& app);
void addStabilizeCommand(CLI::App& app);
void addSynthCommand(CLI::App& app);
void addTablesCommand(CLI::App& app);
void addTuningCommand(CLI::App& app);

}  // namespace eishost
