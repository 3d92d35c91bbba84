// Files and pipes that the tools read pictures from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "host/program/exit_codes.h"

namespace eishost {

// Bytes in order, with a look ahead. All throw HostError(kExitUnreadable) with the file's name and the system's reason.
class InputFile {
  public:
    explicit InputFile(const std::string& path);  // "-" is standard input

    const std::string& name() const { return name_; }  // for messages

    // Up to `count` bytes that read() will give, fewer only at the end of the input.
    std::string_view peek(std::size_t count);

    // The number of bytes read: fewer than `count` only at the end of the input.
    std::size_t read(void* to, std::size_t count);

    // All bytes to the end, and for a regular file their number beforehand.
    std::string readAll();
    std::optional<std::uintmax_t> bytesLeft() const;

    // Throws an error of this file.
    [[noreturn]] void fail(const std::string& what, ExitCode code = kExitUnreadable) const;

  private:
    struct Close {
        void operator()(std::FILE* file) const;
    };

    std::string name_;
    std::unique_ptr<std::FILE, Close> file_;
    std::string ahead_;
};

}  // namespace eishost
