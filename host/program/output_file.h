// Files that the tools write: each appears whole, or not at all.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "host/program/unfinished_file.h"

namespace eishost {

// A file on its way. The bytes go into a temporary file beside it, which commit() renames, so that until then an older
// file of that name stays as it was; without a commit() the temporary goes with the object, or with the program that a
// signal ends. "-" is standard output; that and other files that are no regular ones, as pipes and devices, are written
// in place. All throw HostError(kExitUnwritable) with the system's reason.
class OutputFile {
  public:
    explicit OutputFile(const std::string& path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void write(std::string_view bytes);

    // Writes a part of a clip: unless a write fails, file or pipe never end inside of it. A clip is of use without its
    // end, so a signal leaves it where there was no file before.
    void writeWhole(std::span<const std::string_view> pieces);

    void commit();

  private:
    [[noreturn]] void fail(int error) const;

    std::string path_;
    std::string target_;  // the path without links: a rename would put the file in a link's place
    std::string part_;    // the temporary file; empty where the file is written in place
    std::unique_ptr<UnfinishedFile> unfinished_;
    int descriptor_ = -1;
};

// Throws for a path that no file can be written to, as far as that can be known beforehand: work whose result has
// nowhere to go is better not begun.
void requireWritable(const std::string& path);

void saveFile(const std::string& path, std::string_view bytes);

}  // namespace eishost
