// eis-lab: the tuning engineer's bench.
#include "host/command_line/tool.h"
#include "host/lab/commands.h"

namespace {

void addCommands(CLI::App& app) {
    eislab::addBlockCommand(app);
    eislab::addGhostCommand(app);
    eislab::addGpuCommand(app);
    eislab::addLogCommand(app);
    eislab::addStagesCommand(app);
    eislab::addTablesCommand(app);
    eislab::addTuningCommand(app);
}

}  // namespace

int main(int argc, char** argv) {
    return eishost::runTool(
        "A bench for tuning files, strength tables, ghost masks and the GPU filter of libkelvane_eis_ap.", addCommands,
        argc, argv);
}
