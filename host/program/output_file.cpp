#include "host/program/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <optional>
#include <utility>

#include "host/program/exit_codes.h"

namespace eishost {

namespace {

[[noreturn]] void refuse(const std::string& path, const std::string& reason) {
    throw HostError(kExitUnwritable, (path == "-" ? "standard output" : path) + ": cannot be written: " + reason);
}

std::string folderOf(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

std::optional<struct stat> statusOf(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return std::nullopt;
    return status;
}

std::string withoutLinks(const std::string& path) {
    std::error_code error;
    const std::filesystem::path target = std::filesystem::canonical(path, error);
    return error ? path : target.string();
}

bool isInPlace(const std::string& path) {
    if (path == "-") return true;
    const std::optional<struct stat> status = statusOf(path);
    return status && !S_ISREG(status->st_mode);
}

}  // namespace

void requireWritable(const std::string& path) {
    if (path == "-") return;
    const std::optional<struct stat> status = statusOf(path);
    if (!status && errno != ENOENT) refuse(path, std::strerror(errno));
    if (status && S_ISDIR(status->st_mode)) refuse(path, std::strerror(EISDIR));
    if (status && access(path.c_str(), W_OK) != 0) refuse(path, std::strerror(errno));
    if (isInPlace(path)) return;
    const std::string folder = folderOf(withoutLinks(path));
    if (access(folder.c_str(), W_OK | X_OK) != 0) refuse(path, "folder " + folder + ": " + std::strerror(errno));
}

OutputFile::OutputFile(const std::string& path) : path_(path) {
    requireWritable(path);
    if (path == "-") {
        std::cout.flush();
        std::fflush(stdout);
        descriptor_ = STDOUT_FILENO;
        return;
    }
    if (isInPlace(path)) {
        descriptor_ = open(path.c_str(), O_WRONLY | O_CLOEXEC);
        if (descriptor_ < 0) fail(errno);
        return;
    }
    target_ = withoutLinks(path);
    static std::atomic<unsigned> count{0};
    do {
        unfinished_.reset();
        part_ = folderOf(target_) + "/.eis-" + std::to_string(getpid()) + "-" + std::to_string(++count) + ".part";
        unfinished_ = std::make_unique<UnfinishedFile>(part_, target_);
        descriptor_ = open(part_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (descriptor_ < 0 && errno == EEXIST);
    if (descriptor_ < 0) fail(errno);
    // The owner can be kept by root alone, and matters to nobody else.
    if (const std::optional<struct stat> older = statusOf(target_)) {
        (void)!fchown(descriptor_, older->st_uid, older->st_gid);
        (void)fchmod(descriptor_, older->st_mode & 07777);
    }
}

OutputFile::~OutputFile() {
    if (descriptor_ > STDOUT_FILENO) ::close(descriptor_);
    if (!part_.empty()) unlink(part_.c_str());
}

void OutputFile::fail(int error) const {
    refuse(path_, std::strerror(error));
}

void OutputFile::write(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) fail(errno);
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

void OutputFile::writeWhole(std::span<const std::string_view> pieces) {
    const SignalsWait wait;
    for (const std::string_view piece : pieces) write(piece);
    if (unfinished_) unfinished_->setUseful();
}

void OutputFile::commit() {
    if (descriptor_ > STDOUT_FILENO && ::close(std::exchange(descriptor_, -1)) != 0) fail(errno);
    if (part_.empty()) return;
    if (rename(part_.c_str(), target_.c_str()) != 0) fail(errno);
    part_.clear();
    unfinished_.reset();
}

void saveFile(const std::string& path, std::string_view bytes) {
    OutputFile file(path);
    file.write(bytes);
    file.commit();
}

}  // namespace eishost
