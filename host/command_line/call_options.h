// The options of the command line that show or keep the library's calls.
#pragma once

#include "host/dsp/call_streams.h"

namespace CLI {
class App;
}

namespace eishost {

// Adds --trace and --log, to standard error. `streams` outlives the parsing.
void addShowOptions(CLI::App& command, CallStreams& streams);
// Adds --record. The program ends with finishRecording().
void addRecordOption(CLI::App& command);
// Adds all three.
void addCallStreams(CLI::App& command, CallStreams& streams);

}  // namespace eishost
