// Exit codes of eis-lab. The small numbers are verdicts, so a wrong command line has one of its own.
#pragma once

#include "host/exit_codes.h"

namespace eislab {

enum LabExitCode : int {
    kLabClean = 0,
    kLabFindings = 1,  // lint: warnings, diff: differences
    kLabRefused = 2,   // a file that the library refuses
    kLabUsage = 64,
    kLabUnwritable = 65,
    kLabInternal = 70
};

// What an error of the parts that eis-lab shares with eis-host becomes.
inline int labExitCode(eishost::ExitCode code) {
    switch (code) {
        case eishost::kExitOk:
            return kLabClean;
        case eishost::kExitUsage:
            return kLabUsage;
        case eishost::kExitUnreadable:
        case eishost::kExitUnsuitable:
            return kLabRefused;
        case eishost::kExitUnwritable:
            return kLabUnwritable;
        default:
            return kLabInternal;
    }
}

}  // namespace eislab
