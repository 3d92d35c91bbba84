// A small video for a browser.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

#include "host/picture/picture.h"

namespace eishost {

// H.264 in MP4, which the program ffmpeg makes where it is installed. Whoever shows the video can do without it, so
// nothing here throws: after a failure, or without the program, pictures go nowhere and finish() tells.
class VideoFile {
  public:
    // `rate` is frames a second, as "30000/1001".
    VideoFile(std::string path, const std::string& rate);
    // Leaves no file unless it is finished.
    ~VideoFile();
    VideoFile(const VideoFile&) = delete;
    VideoFile& operator=(const VideoFile&) = delete;

    // All of one size.
    void write(const Picture& picture);

    // Whether the file stands whole at its path.
    [[nodiscard]] bool finish();

  private:
    void start(const Picture& picture);
    void send(const void* bytes, std::size_t count);
    bool end();

    std::string path_;
    std::string part_;
    std::string rate_;
    pid_t encoder_ = -1;
    int pipe_ = -1;
    bool failed_ = false;
};

}  // namespace eishost
