#include "host/program/temporary_folder.h"

#include <unistd.h>

#include <cstdlib>
#include <string>

#include "host/program/exit_codes.h"

namespace eishost {

TemporaryFolder::TemporaryFolder() {
    std::string folder = (std::filesystem::temp_directory_path() / "eis-host-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) throw HostError(kExitUnwritable, folder + ": cannot be made");
    path_ = folder;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

}  // namespace eishost
