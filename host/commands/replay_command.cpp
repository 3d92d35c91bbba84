#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>

#include "host/command_line/call_options.h"
#include "host/commands/commands.h"
#include "host/dsp/other_library.h"
#include "host/dsp/replay.h"

namespace eishost {

namespace {

struct ReplayArguments {
    std::string file;
    std::string library;
    CallStreams show;
};

// Returns whether all came out as before.
bool replayCall(std::size_t number, const CallRecord& call, const CallStreams& show) {
    const CallRecord played = playAgain(call, show);
    std::printf("call %zu: %s, recorded by %s\n", number, call.entry.c_str(), call.writer.c_str());
    if (!call.status) {
        std::printf("  it never returned; now it does, with %d after %.1f ms\n", *played.status, played.milliseconds);
        return true;
    }
    const std::vector<std::string> lines = differences(call, played);
    for (const std::string& line : lines) std::printf("  %s\n", line.c_str());
    if (lines.empty()) {
        std::printf("  the same: status %d, %zu buffers, %zu callbacks, %zu lines of log\n", *call.status,
                    call.buffers.size(), call.touches ? call.touches->size() : 0, call.log ? call.log->size() : 0);
    }
    std::printf("  %.1f ms, recorded %.1f ms\n", played.milliseconds, call.milliseconds);
    return lines.empty();
}

void runReplay(const ReplayArguments& arguments) {
    if (!arguments.library.empty()) runWithLibrary(arguments.library);
    CallReader reader(arguments.file);
    bool same = true;
    std::size_t number = 0;
    while (const std::optional<CallRecord> call = reader.next()) {
        if (!arguments.library.empty()) requireExport(arguments.library, playableEntry(*call).name);
        same = replayCall(++number, *call, arguments.show) && same;
    }
    if (!same) throw CLI::RuntimeError(kExitFindings);
}

}  // namespace

void addReplayCommand(CLI::App& app) {
    auto arguments = std::make_shared<ReplayArguments>();
    CLI::App* command = app.add_subcommand("replay", "Plays recorded calls again, and tells what differs");
    command->add_option("FILE", arguments->file, "Calls that --record of a command kept, or a host of its own")
        ->required();
    command->add_option("--library", arguments->library, "Play them against this build of the library");
    addShowOptions(*command, arguments->show);
    command->footer(
        "Compares status, block, every buffer (name, number of bytes, the first one), callbacks and log. Times, "
        "pointers\n"
        "and dates in the log do not count, nor the order of what threads do. Exit 7 when anything differs.\n\n"
        "  eis-host scale photo.jpg half.png --size 1632x1224 --record call.eisc\n"
        "  eis-host replay call.eisc --library old/libkelvane_eis_ap.so");
    command->callback([arguments] { runReplay(*arguments); });
}

}  // namespace eishost
