// Clips in the YUV4MPEG2 format, one picture at a time.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/picture/picture.h"
#include "host/picture/raw_picture.h"
#include "host/program/input_file.h"
#include "host/program/output_file.h"

namespace eishost {

constexpr std::string_view kY4mMagic = "YUV4MPEG2 ";

// What the header of a clip says beside its size, and stays true for a clip that is made from it: the fields as they
// stand there, frame rate (F), interlacing (I), pixel aspect (A), chroma (C) and extensions (X).
struct ClipFormat {
    std::vector<std::string> fields{"F30:1", "Ip", "A1:1", "C420jpeg"};

    // What follows the letters, or `missing`.
    std::string_view value(std::string_view letters, std::string_view missing = {}) const;

    // Frames a second as a fraction, like "30000/1001"; "30/1" where the clip tells none.
    std::string rate() const;
    ColorRange range() const;
    bool interlaced() const;
};

// The format of a clip of pictures that come from none.
ClipFormat defaultClipFormat(ColorRange range);

class Y4mReader {
  public:
    // Reads the header. HostError(kExitUnreadable) when it is damaged, HostError(kExitUnsuitable) when the clip is not
    // 4:2:0 with 8 bits.
    explicit Y4mReader(InputFile file);

    const ClipFormat& format() const { return format_; }

    // The next picture, or nothing at the end. HostError(kExitUnreadable) names the picture that is damaged or cut
    // short, from 1; those before it are good.
    std::optional<Picture> next();

    // The fields in front of the picture that was read last, as " Itpp".
    const std::string& pictureFields() const { return pictureFields_; }

    // How many are to come, as far as the length of a file tells.
    std::optional<std::size_t> picturesLeft() const;

  private:
    bool readLine(std::string& line);
    std::string pictureName() const;

    InputFile file_;
    ClipFormat format_;
    RawLayout layout_;
    std::string pictureFields_;
    std::size_t count_ = 0;
};

// Writes a clip picture by picture, so that file or pipe end at a picture's end whatever ends the program.
class Y4mWriter {
  public:
    // `file` outlives this.
    Y4mWriter(OutputFile& file, ClipFormat format);

    // All pictures must have the size of the first one.
    void write(const Picture& picture, std::string_view pictureFields = {});

  private:
    OutputFile& file_;
    ClipFormat format_;
    std::size_t count_ = 0;
};

}  // namespace eishost
