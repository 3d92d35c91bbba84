// Runs eis-host as a user does.
#pragma once

#include <string>

namespace eishost {

struct CliResult {
    int exitCode = -1;  // 128 and the signal's number for a crash
    std::string out;
    std::string err;

    int errorLines() const;
};

// `arguments` goes through the shell, so that pipes and quotes work. What goes to a file of the caller's is not in the
// result.
CliResult runCli(const std::string& arguments, const std::string& standardOutput = {});

}  // namespace eishost
