// A folder of a test's own, and whole files.
#pragma once

#include <string>
#include <string_view>

namespace eis::test {

// Empty at the start, gone with the object.
class TempFolder {
  public:
    TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder();

    std::string path(const std::string& name) const { return folder_ + "/" + name; }

  private:
    std::string folder_;
};

void writeFile(const std::string& path, std::string_view content);
std::string readFile(const std::string& path);

}  // namespace eis::test
