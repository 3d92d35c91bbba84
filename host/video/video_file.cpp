#include "host/video/video_file.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <utility>
#include <vector>

namespace eishost {

VideoFile::VideoFile(std::string path, const std::string& rate)
    : path_(std::move(path)), part_(path_ + ".part"), rate_(rate) {}

VideoFile::~VideoFile() {
    if (!end()) return;
    std::error_code ignored;
    std::filesystem::remove(part_, ignored);
}

void VideoFile::start(const Picture& picture) {
    const std::string size = std::to_string(picture.width) + "x" + std::to_string(picture.height);
    const std::string range = picture.range == ColorRange::kFull ? "pc" : "tv";
    // Every browser that knows H.264 takes 4:2:0 in the range of video.
    std::vector<std::string> words{"ffmpeg",
                                   "-nostdin",
                                   "-v",
                                   "quiet",
                                   "-y",
                                   "-f",
                                   "rawvideo",
                                   "-pix_fmt",
                                   "yuv420p",
                                   "-s",
                                   size,
                                   "-r",
                                   rate_,
                                   "-i",
                                   "pipe:0",
                                   "-vf",
                                   "scale=in_range=" + range + ":out_range=tv",
                                   "-c:v",
                                   "libx264",
                                   "-preset",
                                   "veryfast",
                                   "-crf",
                                   "27",
                                   "-pix_fmt",
                                   "yuv420p",
                                   "-movflags",
                                   "+faststart",
                                   "-f",
                                   "mp4",
                                   part_};
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);

    // A socket, not a pipe: an encoder that dies is an error to be told, not a signal that ends the program.
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    if (posix_spawnp(&encoder_, "ffmpeg", &actions, nullptr, arguments.data(), environ) != 0) encoder_ = -1;
    posix_spawn_file_actions_destroy(&actions);
    close(ends[0]);
    pipe_ = ends[1];
}

void VideoFile::send(const void* bytes, std::size_t count) {
    const auto* next = static_cast<const char*>(bytes);
    while (count > 0 && !failed_) {
        const ssize_t sent = ::send(pipe_, next, count, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        failed_ = sent <= 0;
        if (failed_) return;
        next += sent;
        count -= static_cast<std::size_t>(sent);
    }
}

void VideoFile::write(const Picture& picture) {
    if (!failed_ && encoder_ < 0) {
        start(picture);
        failed_ = encoder_ < 0;
    }
    for (const auto& plane : picture.planes) send(plane.data(), plane.size());
}

// Whether there was an encoder, which is then gone.
bool VideoFile::end() {
    if (pipe_ >= 0) close(pipe_);
    pipe_ = -1;
    if (encoder_ < 0) return false;
    int status = 0;
    while (waitpid(encoder_, &status, 0) < 0 && errno == EINTR) {
    }
    encoder_ = -1;
    failed_ = failed_ || !WIFEXITED(status) || WEXITSTATUS(status) != 0;
    return true;
}

bool VideoFile::finish() {
    std::error_code error;
    if (!end()) return false;
    if (!failed_) std::filesystem::rename(part_, path_, error);
    if (!failed_ && !error) return true;
    std::filesystem::remove(part_, error);
    return false;
}

}  // namespace eishost
