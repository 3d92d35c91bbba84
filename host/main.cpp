// eis-host: the command line that plays the DSP.
#include <CLI/CLI.hpp>

#include "host/commands.h"
#include "host/tool.h"

int main(int argc, char** argv) {
    CLI::App app{"Plays the vision DSP for libkelvane_eis_ap: pictures, strength tables, tuning files, test bursts."};
    eishost::addRegisterCommand(app);
    eishost::addBurstCommand(app);
    eishost::addDenoiseCommand(app);
    eishost::addScaleCommand(app);
    eishost::addSearchCommand(app);
    eishost::addSynthCommand(app);
    eishost::addTablesCommand(app);
    eishost::addTuningCommand(app);
    return eishost::runTool(app, argc, argv);
}
