// eis-host: the command line that plays the DSP.
#include "host/command_line/tool.h"
#include "host/commands/commands.h"
#include "host/dsp/call_recorder.h"

namespace {

void addCommands(CLI::App& app) {
    eishost::addRegisterCommand(app);
    eishost::addBurstCommand(app);
    eishost::addDenoiseCommand(app);
    eishost::addMergeCommand(app);
    eishost::addReplayCommand(app);
    eishost::addScaleCommand(app);
    eishost::addSearchCommand(app);
    eishost::addStabilizeCommand(app);
    eishost::addSynthCommand(app);
    eishost::addTablesCommand(app);
    eishost::addTuningCommand(app);
    eishost::addPagesCommand(app);
}

}  // namespace

int main(int argc, char** argv) {
    const int exitCode = eishost::runTool(
        "Plays the vision DSP for libkelvane_eis_ap: pictures, strength tables, tuning files, test bursts.",
        addCommands, argc, argv);
    return eishost::finishRecording(exitCode);
}
