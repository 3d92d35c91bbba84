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
    // Makes a file; its path.
    std::string write(const std::string& name, std::string_view content) const;
    // What a file holds; nothing if there is none.
    std::string read(const std::string& name) const;

  private:
    std::string folder_;
};

// While one lives, fopen of a path opens another one: for paths that the library fixes. One for each path.
class FileRedirect {
  public:
    FileRedirect(const std::string& path, const std::string& target);
    FileRedirect(const FileRedirect&) = delete;
    FileRedirect& operator=(const FileRedirect&) = delete;
    ~FileRedirect();

  private:
    std::string path_;
};
// Where fopen goes for a path.
std::string redirectedPath(const char* path);

void writeFile(const std::string& path, std::string_view content);
std::string readFile(const std::string& path);

}  // namespace eis::test
