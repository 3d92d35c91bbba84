#include "host/program/messages.h"

#include <errno.h>  // program_invocation_short_name
#include <unistd.h>

#include <iostream>
#include <mutex>
#include <set>

namespace eishost {

const char* toolName() {
    return program_invocation_short_name;
}

void tell(const std::string& text) {
    // On a terminal a line of progress may stand where this one goes.
    std::cerr << (isatty(STDERR_FILENO) != 0 ? "\r\033[K" : "") << toolName() << ": " << text << std::endl;
}

void note(const std::string& text) {
    static std::mutex mutex;
    static std::set<std::string> told;
    const std::scoped_lock lock(mutex);
    if (told.insert(text).second) tell("note: " + text);
}

}  // namespace eishost
