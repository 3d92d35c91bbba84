// What the library logs, caught where the platform's log would be: the program defines the log function itself.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace eishost {

struct LogLine {
    int priority = 0;  // 4 info, 6 error
    std::string tag;
    std::string text;  // without the line end
};

// Starts a fresh record. `echo`, when not null, gets each line as it comes.
void startLibraryLog(std::ostream* echo);

// The lines since the last start, in order.
std::vector<LogLine> libraryLog();

// Milliseconds of the line that contains `stage` and "cost", nothing when there is none.
std::optional<double> loggedMilliseconds(const std::vector<LogLine>& lines, const std::string& stage);

}  // namespace eishost
