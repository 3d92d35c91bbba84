#include "host/messages.h"

#include <errno.h>  // program_invocation_short_name

#include <iostream>

namespace eishost {

const char* toolName() {
    return program_invocation_short_name;
}

void tell(const std::string& text) {
    std::cerr << toolName() << ": " << text << '\n';
}

void note(const std::string& text) {
    tell("note: " + text);
}

}  // namespace eishost
