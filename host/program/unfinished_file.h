// What SIGINT, SIGTERM and SIGHUP leave behind of the files that a tool is writing.
#pragma once

#include <string>

namespace eishost {

// A file that is written under the name `part` and will be renamed to `target`. Until this object goes, a signal that
// ends the program removes the part first; but a part that was said to be of use is renamed, unless that would replace
// an older file.
class UnfinishedFile {
  public:
    // Made before the part is, so that no moment is left out.
    UnfinishedFile(const std::string& part, const std::string& target);
    ~UnfinishedFile();
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;

    void setUseful();

    struct Entry;

  private:
    Entry* entry_ = nullptr;  // null when too many are under way at once; such a part stays
};

// While one lives the first signal waits for its end. A second signal does not: the reader of a pipe may have stopped.
class SignalsWait {
  public:
    SignalsWait();
    ~SignalsWait();
    SignalsWait(const SignalsWait&) = delete;
    SignalsWait& operator=(const SignalsWait&) = delete;
};

}  // namespace eishost
