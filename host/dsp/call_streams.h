// Where the library's calls are shown.
#pragma once

#include <iosfwd>

namespace eishost {

struct CallStreams {
    std::ostream* trace = nullptr;  // what is done about coherence; null when not asked for
    std::ostream* log = nullptr;    // the library's log

    bool areQuiet() const { return trace == nullptr && log == nullptr; }
};

}  // namespace eishost
