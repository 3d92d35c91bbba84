// The frames of a registration, brought to one size that the library can take.
#pragma once

#include <optional>
#include <string>

#include "host/picture/picture.h"

namespace eishost {

// Checks each picture against the first one and cuts heights down to a multiple of 8: the copy of a refused frame would
// leave the rows beyond it unwritten.
class FrameSource {
  public:
    explicit FrameSource(const RawOptions& raw) : raw_(raw) {}

    // The picture of a file that holds exactly one. HostError as loadPicture, and kExitUnsuitable for another size than
    // before or a height under 8.
    Picture load(const std::string& path);
    Picture fit(Picture picture, const std::string& name);

    const RawOptions& raw() const { return raw_; }
    int cutRows() const { return cutRows_; }
    // "" or one line about the rows that were cut.
    std::string note() const;

  private:
    RawOptions raw_;
    std::optional<PictureSize> size_;  // of the first picture, uncut
    int cutRows_ = 0;
};

}  // namespace eishost
