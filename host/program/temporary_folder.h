// A folder that goes with the object.
#pragma once

#include <filesystem>

namespace eishost {

class TemporaryFolder {
  public:
    TemporaryFolder();  // HostError(kExitUnwritable)
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

}  // namespace eishost
