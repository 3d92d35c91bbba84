// The folder that a command fills with numbered pictures and a list of them.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace eishost {

// Two runs that share a folder would mix their pictures: a later one of fewer frames leaves some of the earlier one.
class OutputFolder {
  public:
    // The pictures are KIND_NN.png, a kind with an extension is one file of that name, and `list` is the JSON file
    // that names them. HostError(kExitUnwritable) for a path
    // that is no folder or cannot be written to, and for a folder that holds such files. When `replacing` they are no
    // hindrance if the list names them all and none is among the `inputs`.
    OutputFolder(const std::string& path, std::string list, std::vector<std::string> kinds, bool replacing,
                 const std::vector<std::string>& inputs);

    // Makes the folder, and removes what an earlier run left. HostError(kExitUnwritable).
    void open() const;

    std::string list() const { return (path_ / list_).string(); }
    std::string file(const std::string& name) const { return (path_ / name).string(); }
    // "KIND_NN.png" in the folder.
    std::string picture(const char* kind, std::size_t number) const;

  private:
    bool isOurs(const std::string& name) const;

    std::filesystem::path path_;
    std::string list_;
    std::vector<std::string> kinds_;
    std::vector<std::filesystem::path> older_;
};

// "KIND_NN.png".
std::string numberedName(const char* kind, std::size_t number);

}  // namespace eishost
