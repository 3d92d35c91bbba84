#include "tests/harness/tools/cli.h"

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <regex>
#include <sstream>

namespace eishost {

int CliResult::errorLines() const {
    return static_cast<int>(std::count(err.begin(), err.end(), '\n'));
}

CliResult runCli(const std::string& arguments, const std::string& workingFolder) {
    const TempFolder folder;
    const std::string command = "cd '" + workingFolder + "' && { '" + EIS_HOST_PROGRAM + "' " + arguments + "\n} >'" +
                                folder.path("out") + "' 2>'" + folder.path("err") + "'";
    const int status = std::system(command.c_str());
    CliResult result;
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = folder.read("out");
    result.err = folder.read("err");
    return result;
}

std::string replay(const std::string& session, const TempFolder& folder) {
    std::istringstream lines(session);
    std::string seen;
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with("$ ")) continue;
        const CliResult result = runCli(line.substr(2), folder.path(""));
        const std::string err = std::regex_replace(result.err, std::regex("[0-9.]+ ms"), "N ms");
        seen += line + '\n' + std::regex_replace(err, std::regex(folder.path("")), "FOLDER/") + "[" +
                std::to_string(result.exitCode) + "]\n";
    }
    return seen;
}

}  // namespace eishost
