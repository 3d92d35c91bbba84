// Runs a program of the tools as a user does.
#pragma once

#include <string>

#include "tests/harness/files.h"

namespace eishost {

using eis::test::TempFolder;

struct CliResult {
    int exitCode = -1;  // 128 and the signal's number for a crash
    std::string out;
    std::string err;

    int errorLines() const;
};

// `arguments` goes through the shell, so that pipes, quotes and redirections work. What they send elsewhere is not in
// the result.
CliResult runCli(const std::string& arguments, const std::string& workingFolder = ".");

// Runs the lines of a session that begin with "$ " in the folder. Each, what it wrote to standard error, and its exit
// code in brackets; the folder's path is "FOLDER", a time "N ms".
std::string replay(const std::string& session, const TempFolder& folder);

}  // namespace eishost
