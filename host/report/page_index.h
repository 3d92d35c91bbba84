// One page over several.
#pragma once

#include <string>
#include <vector>

namespace eishost {

// Writes an HTML page to `file` that links to the pages of these folders, each with its pictures before and after and
// its main figures. HostError: kExitUnreadable for a folder without a page of this tool, kExitUnwritable.
void savePageIndex(const std::string& file, const std::string& title, const std::vector<std::string>& folders);

}  // namespace eishost
