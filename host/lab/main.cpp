// eis-lab: the tuning engineer's bench.
#include <CLI/CLI.hpp>

#include "host/lab/commands.h"
#include "host/tool.h"

int main(int argc, char** argv) {
    CLI::App app{"A bench for tuning files, strength tables, ghost masks and the GPU filter of libkelvane_eis_ap."};
    eislab::addGhostCommand(app);
    eislab::addGpuCommand(app);
    eislab::addTablesCommand(app);
    eislab::addTuningCommand(app);
    return eishost::runTool(app, argc, argv);
}
