// Another build of the library in the place of the one that the program is linked with.
#pragma once

#include <string>

namespace eishost {

// Returns in a process in which the exports of the library at `path` come first: when this is none, the program begins
// anew, with the file preloaded. Opened beside the linked one it would not do: its own calls of its exports would go
// there. HostError: kExitUnreadable for a file that does not load, kExitUnsuitable for one that lacks a setter.
void runWithLibrary(const std::string& path);

// HostError(kExitUnsuitable) with the name when the library at `path` does not export it.
void requireExport(const std::string& path, const char* name);

}  // namespace eishost
