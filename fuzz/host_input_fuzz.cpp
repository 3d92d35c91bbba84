// The readers of clips and of raw pictures on any file: they end, what they give has the sizes that the file tells, and
// an error is one for the user.
//
// The first byte chooses the reader; for a raw picture its format, sizes and stride follow. The rest is the file.
#include <string>

#include "fuzz/input.h"
#include "fuzz/memory_file.h"
#include "host/picture/raw_picture.h"
#include "host/program/exit_codes.h"
#include "host/program/messages.h"
#include "host/video/y4m_stream.h"

// What the tools tell the user.
void eishost::note(const std::string& text) {
    FUZZ_CHECK(!text.empty());
}

namespace {

using namespace eisfuzz;
using namespace eishost;

void checkPicture(const Picture& picture) {
    FUZZ_CHECK(picture.width > 0 && picture.height > 0 && picture.width % 2 == 0 && picture.height % 2 == 0);
    const auto luma = static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height);
    FUZZ_CHECK(picture.planes[0].size() == luma && picture.planes[1].size() == luma / 4 &&
               picture.planes[2].size() == luma / 4);
}

void readClip(const std::string& path) {
    Y4mReader reader{InputFile(path)};
    FUZZ_CHECK(reader.format().rate().find('/') != std::string::npos);
    while (const std::optional<Picture> picture = reader.next()) checkPicture(*picture);
    FUZZ_CHECK(reader.picturesLeft() == 0);
}

void readRawPictures(const std::string& path, RawFormat format, PictureSize size, std::optional<int> stride) {
    const RawLayout layout = rawLayout(path, format, size, stride);
    InputFile file(path);
    Picture picture;
    while (readRaw(file, layout, picture) == RawOutcome::kRead) {
        checkPicture(picture);
        if (stride || format == RawFormat::kP010 || (size.width | size.height) % 2 != 0) continue;
        // What was read is written as it was.
        FUZZ_CHECK(rawBytes(layout, picture).size() == layout.bytes());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const MemoryFile file("input");
    Input in(data, size);
    const bool isClip = in.take<uint8_t>() % 3 != 0;
    const auto format =
        isClip ? RawFormat::kI420 : in.of({RawFormat::kI420, RawFormat::kNv12, RawFormat::kNv21, RawFormat::kP010});
    const PictureSize raw = isClip ? PictureSize{} : PictureSize{in.side(64), in.side(64)};
    const std::optional<int> stride =
        !isClip && in.oneIn(2) ? std::optional<int>(raw.width + in.in(-1, 80)) : std::nullopt;
    file.set(in.text());
    try {
        if (isClip) {
            readClip(file.path());
        } else {
            readRawPictures(file.path(), format, raw, stride);
        }
    } catch (const HostError& error) {
        FUZZ_CHECK(error.code != kExitInternal && *error.what() != '\0');
    }
    return 0;
}
