#include "host/program/input_file.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace eishost {

namespace {

constexpr std::size_t kBufferBytes = std::size_t{1} << 18;

}  // namespace

void InputFile::Close::operator()(std::FILE* file) const {
    if (file != stdin) std::fclose(file);
}

InputFile::InputFile(const std::string& path)
    : name_(path == "-" ? "standard input" : path), file_(path == "-" ? stdin : std::fopen(path.c_str(), "rbe")) {
    if (!file_) fail(std::string("cannot be opened: ") + std::strerror(errno));
    // Rows of pictures are read one by one, and a call of the system for every few would take as long as the rest.
    std::setvbuf(file_.get(), nullptr, _IOFBF, kBufferBytes);
}

void InputFile::fail(const std::string& what, ExitCode code) const {
    throw HostError(code, name_ + ": " + what);
}

std::string_view InputFile::peek(std::size_t count) {
    if (ahead_.size() < count) {
        std::string more(count - ahead_.size(), '\0');
        more.resize(std::fread(more.data(), 1, more.size(), file_.get()));
        if (std::ferror(file_.get()) != 0) fail(std::string("cannot be read: ") + std::strerror(errno));
        ahead_ += more;
    }
    return std::string_view(ahead_).substr(0, count);
}

std::size_t InputFile::read(void* to, std::size_t count) {
    const std::size_t fromAhead = std::min(count, ahead_.size());
    std::memcpy(to, ahead_.data(), fromAhead);
    ahead_.erase(0, fromAhead);
    if (fromAhead == count) return count;
    const std::size_t read = std::fread(static_cast<char*>(to) + fromAhead, 1, count - fromAhead, file_.get());
    if (std::ferror(file_.get()) != 0) fail(std::string("cannot be read: ") + std::strerror(errno));
    return fromAhead + read;
}

std::string InputFile::readAll() {
    std::string bytes = std::move(ahead_);
    ahead_.clear();
    constexpr std::size_t kStep = std::size_t{1} << 16;
    for (std::size_t got = kStep; got == kStep;) {
        const std::size_t size = bytes.size();
        bytes.resize(size + kStep);
        got = read(bytes.data() + size, kStep);
        bytes.resize(size + got);
    }
    return bytes;
}

std::optional<std::uintmax_t> InputFile::bytesLeft() const {
    struct stat status {};
    const off_t at = ftello(file_.get());
    if (fstat(fileno(file_.get()), &status) != 0 || !S_ISREG(status.st_mode) || at < 0 || at > status.st_size) {
        return std::nullopt;
    }
    return static_cast<std::uintmax_t>(status.st_size - at) + ahead_.size();
}

}  // namespace eishost
