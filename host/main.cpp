// eis-host: the command line that plays the DSP.
#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

#include "host/commands.h"
#include "host/exit_codes.h"
#include "host/standard_streams.h"

namespace {

int run(int argc, char** argv) {
    CLI::App app{"Plays the vision DSP for libkelvane_eis_ap: pictures, strength tables, tuning files, test bursts."};
    app.name("eis-host");
    app.require_subcommand(1);
    app.footer(
        "Exit codes: 0 done, 1 usage, 2 unreadable input, 3 unsuitable input, 4 unwritable output,\n"
        "            5 error status from the library, 6 internal error.");
    eishost::addRegisterCommand(app);
    eishost::addBurstCommand(app);
    eishost::addDenoiseCommand(app);
    eishost::addScaleCommand(app);
    eishost::addSearchCommand(app);
    eishost::addSynthCommand(app);
    eishost::addTablesCommand(app);
    eishost::addTuningCommand(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::RuntimeError& error) {
        return error.get_exit_code();
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? eishost::kExitOk : eishost::kExitUsage;
    }
    return eishost::kExitOk;
}

}  // namespace

int main(int argc, char** argv) {
    eishost::holdStandardStreams();
    try {
        const int code = run(argc, argv);
        eishost::finishStandardOutput();
        return code;
    } catch (const eishost::HostError& error) {
        std::cerr << "eis-host: " << error.what() << '\n';
        return error.code;
    } catch (const std::exception& error) {
        std::cerr << "eis-host: internal error: " << error.what() << '\n';
        return eishost::kExitInternal;
    }
}
