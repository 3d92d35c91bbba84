#include "tests/hostcli/cli.h"

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>

#include "tests/hosttools/scratch_folder.h"

namespace eishost {

int CliResult::errorLines() const {
    return static_cast<int>(std::count(err.begin(), err.end(), '\n'));
}

CliResult runCli(const std::string& arguments, const std::string& standardOutput) {
    const ScratchFolder folder;
    const std::string command = std::string("'") + EIS_HOST_PROGRAM + "' " + arguments + " >'" +
                                (standardOutput.empty() ? folder.file("out") : standardOutput) + "' 2>'" +
                                folder.file("err") + "'";
    const int status = std::system(command.c_str());
    CliResult result;
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = folder.read("out");
    result.err = folder.read("err");
    return result;
}

}  // namespace eishost
