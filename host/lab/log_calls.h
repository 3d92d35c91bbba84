// The calls that a log tells of.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/lab/log_lines.h"

namespace eislab {

struct LoggedTime {
    std::string stage;
    double milliseconds = 0;
};

struct LoggedCall {
    std::string entry;
    std::size_t firstLine = 0;
    int process = 0;
    int thread = 0;
    bool ended = false;
    std::optional<int> status;  // as the log tells it; an entry that logs no end may have failed in silence
    std::vector<LoggedTime> times;
    std::vector<std::string> reasons;  // why a frame was refused or the call failed, in words
};

// In the order of their first lines. Lines of a thread that called no entry belong to the one call that its process has
// open.
std::vector<LoggedCall> groupCalls(const std::vector<LogLine>& lines);

}  // namespace eislab
