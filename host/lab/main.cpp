// eis-lab: the tuning engineer's bench.
#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

#include "host/lab/commands.h"
#include "host/lab/exit_codes.h"
#include "host/standard_streams.h"

namespace {

int run(int argc, char** argv) {
    CLI::App app{"A bench for tuning files, strength tables, ghost masks and the GPU filter of libkelvane_eis_ap."};
    app.name("eis-lab");
    app.require_subcommand(1);
    app.footer(
        "Exit codes: 0 done and nothing found, 1 findings, 2 a file that the library refuses,\n"
        "            64 usage, 65 unwritable output, 70 internal error.");
    eislab::addGhostCommand(app);
    eislab::addGpuCommand(app);
    eislab::addTablesCommand(app);
    eislab::addTuningCommand(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::RuntimeError& error) {
        return error.get_exit_code();
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? eislab::kLabClean : eislab::kLabUsage;
    }
    return eislab::kLabClean;
}

}  // namespace

int main(int argc, char** argv) {
    eishost::holdStandardStreams();
    try {
        const int code = run(argc, argv);
        eishost::finishStandardOutput();
        return code;
    } catch (const eishost::HostError& error) {
        std::cerr << "eis-lab: " << error.what() << '\n';
        return eislab::labExitCode(error.code);
    } catch (const std::exception& error) {
        std::cerr << "eis-lab: internal error: " << error.what() << '\n';
        return eislab::kLabInternal;
    }
}
