// Lines for the user on standard error, each with the tool's name in front.
#pragma once

#include <string>

namespace eishost {

// The running program's name, "eis-host" or "eis-lab".
const char* toolName();

// "eis-host: TEXT".
void tell(const std::string& text);

// "eis-host: note: TEXT": what the user may not expect, though nothing is wrong. A text is told once,
// however often its file is read.
void note(const std::string& text);

}  // namespace eishost
