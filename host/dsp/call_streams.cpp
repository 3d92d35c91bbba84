#include "host/dsp/call_streams.h"

#include <CLI/CLI.hpp>
#include <iostream>

namespace eishost {

void addCallStreams(CLI::App& command, CallStreams& streams) {
    command.add_flag_callback(
        "--trace", [&streams] { streams.trace = &std::cerr; },
        "Print each address conversion, invalidate, flush and sync to stderr");
    command.add_flag_callback(
        "--log", [&streams] { streams.log = &std::cerr; }, "Print the library's log to stderr");
}

}  // namespace eishost
