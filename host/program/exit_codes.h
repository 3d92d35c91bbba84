// Exit codes of eis-host and eis-lab, and the error that carries one.
#pragma once

#include <stdexcept>
#include <string>

namespace eishost {

enum ExitCode : int {
    kExitOk = 0,
    kExitUsage = 1,       // the command line: an unknown option, a value out of range, an unknown file extension
    kExitUnreadable = 2,  // an input that is missing, empty, truncated, damaged or of no known format
    kExitUnsuitable = 3,  // a sound input that cannot be used: too small, of another size, featureless
    kExitUnwritable = 4,  // an output that cannot be written
    kExitLibrary = 5,     // the library refused an input, or an entry of it returned an error status
    kExitInternal = 6,    // out of memory, or anything else that nobody foresaw
    kExitFindings = 7,    // done, with a verdict: lint has warnings, diff has differences
};

inline constexpr char kExitCodesHelp[] =
    "Exit codes: 0 done, 1 usage, 2 unreadable input, 3 unsuitable input, 4 unwritable output, 5 refused by the\n"
    "            library or an error status of it, 6 internal error, 7 done and found something (lint, diff).";

// What ends a command early: an exit code and one line for the user, without a line end.
class HostError : public std::runtime_error {
  public:
    HostError(ExitCode exitCode, const std::string& message) : std::runtime_error(message), code(exitCode) {}
    const ExitCode code;
};

}  // namespace eishost
