#include "host/command_line/call_options.h"

#include <CLI/CLI.hpp>
#include <iostream>

#include "host/dsp/call_recorder.h"

namespace eishost {

void addShowOptions(CLI::App& command, CallStreams& streams) {
    command.add_flag_callback(
        "--trace", [&streams] { streams.trace = &std::cerr; },
        "Print each address conversion, invalidate, flush and sync to stderr");
    command.add_flag_callback(
        "--log", [&streams] { streams.log = &std::cerr; }, "Print the library's log to stderr");
}

void addRecordOption(CLI::App& command) {
    command
        .add_option_function<std::string>(
            "--record", [](const std::string& file) { startRecording(file); },
            "Keep every call of the library in this file, for 'eis-host replay'")
        ->type_name("FILE");
}

void addCallStreams(CLI::App& command, CallStreams& streams) {
    addShowOptions(command, streams);
    addRecordOption(command);
}

}  // namespace eishost
