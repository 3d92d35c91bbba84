// Why the library refused to register a frame.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/dsp/library_log.h"

namespace eishost {

struct Refusal {
    std::string logLine;  // the line that refused
    std::string reason;   // the same in words
};

// From the log of a call whose status word says 3; nothing if no line of it refuses.
std::optional<Refusal> findRefusal(const std::vector<LogLine>& log);

}  // namespace eishost
