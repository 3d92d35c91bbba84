// A file in memory, under a name that fopen takes.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "fuzz/check.h"

namespace eisfuzz {

class MemoryFile {
  public:
    explicit MemoryFile(const char* name) : descriptor_(memfd_create(name, 0)) {
        FUZZ_CHECK(descriptor_ >= 0);
        path_ = "/proc/self/fd/" + std::to_string(descriptor_);
    }
    const std::string& path() const { return path_; }
    void set(std::string_view content) const {
        FUZZ_CHECK(ftruncate(descriptor_, 0) == 0);
        FUZZ_CHECK(pwrite(descriptor_, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()));
    }
    // Whether it holds these bytes and no more.
    bool holds(std::string_view content) const {
        std::string bytes(content.size() + 1, '\0');
        const ssize_t count = pread(descriptor_, bytes.data(), bytes.size(), 0);
        return std::string_view(bytes.data(), count) == content;
    }

  private:
    int descriptor_;
    std::string path_;
};

}  // namespace eisfuzz
