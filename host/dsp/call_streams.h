// The options of the command line that show or keep the library's calls.
#pragma once

#include <iosfwd>

namespace CLI {
class App;
}

namespace eishost {

struct CallStreams {
    std::ostream* trace = nullptr;  // what is done about coherence; null when not asked for
    std::ostream* log = nullptr;    // the library's log

    bool areQuiet() const { return trace == nullptr && log == nullptr; }
};

// Adds --trace and --log, to standard error. `streams` outlives the parsing.
void addShowOptions(CLI::App& command, CallStreams& streams);
// Adds --record. The program ends with finishRecording().
void addRecordOption(CLI::App& command);
// Adds all three.
void addCallStreams(CLI::App& command, CallStreams& streams);

}  // namespace eishost
