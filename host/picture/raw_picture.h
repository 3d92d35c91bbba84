// Pictures as bare samples, as cameras dump them: 4:2:0 without a header.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "host/picture/picture.h"
#include "host/program/input_file.h"

namespace eishost {

// Rows of a picture from the top, plane after plane. I420 has three planes; NV12 has U and V in turn in its second one,
// NV21 V and U. P010 is NV12 with 16-bit little-endian words that hold 10 bits at their upper end. Odd sides have
// chroma for their last column and row.
struct RawLayout {
    struct Plane {
        int rows;
        std::size_t rowBytes;
        std::size_t stride;  // bytes from row to row
    };

    RawFormat format = RawFormat::kI420;
    PictureSize size{};
    std::vector<Plane> planes;

    std::size_t bytes() const;    // of a picture
    std::size_t padding() const;  // behind the samples of the last row
};

// The layout of the file `name`. `stride` is that of luma, and of chroma but for I420, which has half of it; without
// one there is nothing between the rows. HostError(kExitUsage) when a row is longer.
RawLayout rawLayout(const std::string& name, RawFormat format, PictureSize size, std::optional<int> stride);

// Tells the user of the column or row that readRaw leaves out.
void noteOddSides(const std::string& name, PictureSize size);

// The format that a file's extension names: .i420, .nv12, .nv21 or .p010.
std::optional<RawFormat> rawFormatOf(const std::string& path);
const char* nameOf(RawFormat format);

enum class RawOutcome { kRead, kEnd, kCutShort };

// Reads the next picture of `file`, without the last column or row of odd sides, and 10 bits rounded to 8. kEnd when
// not one byte was left. The last row of the file may end with its samples. HostError(kExitUnsuitable) for a size that
// no picture can have, and for words that are no P010.
RawOutcome readRaw(InputFile& file, const RawLayout& layout, Picture& picture);

// The bytes of `picture`, whose size is the layout's. Not for P010. What lies between the rows is 0.
std::vector<std::uint8_t> rawBytes(const RawLayout& layout, const Picture& picture);

}  // namespace eishost
