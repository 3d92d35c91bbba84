// The library's lines in a platform log.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace eislab {

struct LogLine {
    std::size_t number = 0;  // of the line in the file, from 1
    char priority = 'I';     // V, D, I, W, E, F
    int process = 0;         // 0 where the format has none
    int thread = 0;
    std::optional<double> milliseconds;  // since the day began, where the format has fractions of a second
    std::string text;
};

// The lines under the library's tags. Takes logcat's formats brief, time and threadtime, the lines that the log library
// prints on standard error, and those of eis-host --log, mixed as they may be. HostError(kExitUnreadable) with number
// and offset of a line that has none of these forms.
std::vector<LogLine> readLog(const std::string& path);

}  // namespace eislab
