#include "host/picture/raw_picture.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <filesystem>

#include "host/program/exit_codes.h"
#include "host/program/messages.h"

namespace eishost {

namespace {

struct NamedFormat {
    RawFormat format;
    const char* name;
    const char* extension;
};

constexpr std::array<NamedFormat, 4> kFormats{{{RawFormat::kI420, "I420", ".i420"},
                                               {RawFormat::kNv12, "NV12", ".nv12"},
                                               {RawFormat::kNv21, "NV21", ".nv21"},
                                               {RawFormat::kP010, "P010", ".p010"}}};

// The place of a row of plane k in `picture`, which has the even part of the layout's size.
std::uint8_t* rowOf(Picture& picture, int plane, int row) {
    return picture.mat(plane).ptr(row);
}

std::uint8_t toEightBits(int word) {
    return static_cast<std::uint8_t>(std::min(255, (word + 128) >> 8));
}

// Takes rows of a layout apart.
class RowTaker {
  public:
    RowTaker(RawFormat format, Picture& picture) : format_(format), picture_(picture) {}

    void take(int plane, int row, const std::uint8_t* from) {
        const int width = plane == 0 ? picture_.width : picture_.chromaWidth();
        if (row >= (plane == 0 ? picture_.height : picture_.chromaHeight())) return;
        if (format_ == RawFormat::kP010) {
            takeWords(plane, row, width, from);
        } else if (plane == 0 || format_ == RawFormat::kI420) {
            std::copy_n(from, width, rowOf(picture_, plane, row));
        } else {
            std::uint8_t* const u = rowOf(picture_, format_ == RawFormat::kNv12 ? 1 : 2, row);
            std::uint8_t* const v = rowOf(picture_, format_ == RawFormat::kNv12 ? 2 : 1, row);
            for (int x = 0; x < width; ++x) {
                u[x] = from[2 * x];
                v[x] = from[2 * x + 1];
            }
        }
    }

    // Bits that are 0 in every word of P010.
    int lowBits() const { return words_ & 63; }

  private:
    void takeWords(int plane, int row, int width, const std::uint8_t* from) {
        const int step = plane == 0 ? 1 : 2;
        for (int part = 0; part < step; ++part) {
            std::uint8_t* const to = rowOf(picture_, plane + part, row);
            for (int x = 0; x < width; ++x) {
                const std::uint8_t* const at = from + 2 * (x * step + part);
                const int word = at[0] | at[1] << 8;
                words_ |= word;
                to[x] = toEightBits(word);
            }
        }
    }

    RawFormat format_;
    Picture& picture_;
    int words_ = 0;  // all of them, or-ed
};

}  // namespace

std::size_t RawLayout::bytes() const {
    std::size_t sum = 0;
    for (const Plane& plane : planes) sum += plane.stride * static_cast<std::size_t>(plane.rows);
    return sum;
}

std::size_t RawLayout::padding() const {
    return planes.back().stride - planes.back().rowBytes;
}

RawLayout rawLayout(const std::string& name, RawFormat format, PictureSize size, std::optional<int> stride) {
    const std::size_t sample = format == RawFormat::kP010 ? 2 : 1;
    const auto width = static_cast<std::size_t>(size.width);
    const std::size_t chromaWidth = (width + 1) / 2;
    const int chromaRows = size.height / 2 + size.height % 2;
    const std::size_t lumaRow = width * sample;
    const auto lumaStride = stride ? static_cast<std::size_t>(*stride) : lumaRow;
    RawLayout layout{format, size, {{size.height, lumaRow, lumaStride}}};
    if (format == RawFormat::kI420) {
        const RawLayout::Plane chroma{chromaRows, chromaWidth, (lumaStride + 1) / 2};
        layout.planes.insert(layout.planes.end(), {chroma, chroma});
    } else {
        const std::size_t pairs = 2 * chromaWidth * sample;
        layout.planes.push_back({chromaRows, pairs, stride ? lumaStride : pairs});
    }
    for (const RawLayout::Plane& plane : layout.planes) {
        if (plane.stride >= plane.rowBytes) continue;
        throw HostError(kExitUsage, name + ": a stride of " + std::to_string(lumaStride) +
                                        " bytes is too short for rows of " + std::to_string(size.width) +
                                        " pixels in " + nameOf(format));
    }
    return layout;
}

void noteOddSides(const std::string& name, PictureSize size) {
    const bool width = size.width % 2 != 0;
    const bool height = size.height % 2 != 0;
    if (!width && !height) return;
    note(name + ": the last " +
         (width && height ? "column and row are"
          : width         ? "column is"
                          : "row is") +
         " left out, 4:2:0 needs even sides");
}

std::optional<RawFormat> rawFormatOf(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    for (const NamedFormat& each : kFormats) {
        if (extension == each.extension) return each.format;
    }
    return std::nullopt;
}

const char* nameOf(RawFormat format) {
    const auto* const found =
        std::find_if(kFormats.begin(), kFormats.end(), [&](const NamedFormat& each) { return each.format == format; });
    return found->name;
}

RawOutcome readRaw(InputFile& file, const RawLayout& layout, Picture& picture) {
    const int width = layout.size.width & ~1;
    const int height = layout.size.height & ~1;
    try {
        Picture::checkSize(width, height);
        // A short file may name any size: no memory is taken for a picture that is not there.
        const std::optional<std::uintmax_t> left = file.bytesLeft();
        if (left && *left < layout.bytes() - layout.padding())
            return *left == 0 ? RawOutcome::kEnd : RawOutcome::kCutShort;
        picture = Picture(width, height);
    } catch (const HostError& error) {
        file.fail(error.what(), error.code);
    }
    std::vector<std::uint8_t> bytes;
    RowTaker taker(layout.format, picture);
    int index = 0;
    for (const RawLayout::Plane& plane : layout.planes) {
        bytes.resize(plane.stride);
        for (int row = 0; row < plane.rows; ++row) {
            const std::size_t got = file.read(bytes.data(), bytes.size());
            if (got == 0 && index == 0 && row == 0) return RawOutcome::kEnd;
            const bool last = &plane == &layout.planes.back() && row == plane.rows - 1;
            if (got != bytes.size() && !(last && got == plane.rowBytes)) return RawOutcome::kCutShort;
            taker.take(index, row, bytes.data());
        }
        ++index;
    }
    if (taker.lowBits() != 0) {
        file.fail("is no P010: the low six bits of its words are not 0", kExitUnsuitable);
    }
    return RawOutcome::kRead;
}

std::vector<std::uint8_t> rawBytes(const RawLayout& layout, const Picture& picture) {
    std::vector<std::uint8_t> bytes(layout.bytes());
    std::uint8_t* to = bytes.data();
    int index = 0;
    for (const RawLayout::Plane& plane : layout.planes) {
        for (int row = 0; row < plane.rows; ++row, to += plane.stride) {
            if (index == 0 || layout.format == RawFormat::kI420) {
                std::copy_n(picture.mat(index).ptr(row), plane.rowBytes, to);
                continue;
            }
            const std::uint8_t* const first = picture.mat(layout.format == RawFormat::kNv12 ? 1 : 2).ptr(row);
            const std::uint8_t* const second = picture.mat(layout.format == RawFormat::kNv12 ? 2 : 1).ptr(row);
            for (int x = 0; x < picture.chromaWidth(); ++x) {
                to[2 * x] = first[x];
                to[2 * x + 1] = second[x];
            }
        }
        ++index;
    }
    return bytes;
}

}  // namespace eishost
