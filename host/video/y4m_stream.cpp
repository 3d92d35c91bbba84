#include "host/video/y4m_stream.h"

#include <charconv>
#include <utility>

#include "host/program/exit_codes.h"

namespace eishost {

namespace {

constexpr std::size_t kLongestLine = 4096;
constexpr std::string_view kPictureMagic = "FRAME";

bool parseNumber(std::string_view text, int& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

std::string_view bytesOf(const std::vector<std::uint8_t>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

std::string_view ClipFormat::value(std::string_view letters, std::string_view missing) const {
    for (const std::string_view field : fields) {
        if (field.starts_with(letters)) return field.substr(letters.size());
    }
    return missing;
}

std::string ClipFormat::rate() const {
    const std::string_view text = value("F", "30:1");
    const std::size_t colon = text.find(':');
    int frames = 0;
    int seconds = 0;
    const bool told = colon != std::string_view::npos && parseNumber(text.substr(0, colon), frames) &&
                      parseNumber(text.substr(colon + 1), seconds) && frames > 0 && seconds > 0;
    return told ? std::to_string(frames) + "/" + std::to_string(seconds) : "30/1";
}

ColorRange ClipFormat::range() const {
    const std::string_view named = value("XCOLORRANGE=");
    // Without a word on it, the formats of video discs and tape mean video's range.
    const std::string_view chroma = value("C", "420");
    const bool limited = named.empty() ? chroma == "420mpeg2" || chroma == "420paldv" : named == "LIMITED";
    return limited ? ColorRange::kLimited : ColorRange::kFull;
}

bool ClipFormat::interlaced() const {
    const std::string_view order = value("I", "p");
    return order != "p" && order != "?";
}

ClipFormat defaultClipFormat(ColorRange range) {
    ClipFormat format;
    format.fields.emplace_back(range == ColorRange::kFull ? "XCOLORRANGE=FULL" : "XCOLORRANGE=LIMITED");
    return format;
}

Y4mReader::Y4mReader(InputFile file) : file_(std::move(file)) {
    std::string line;
    if (!readLine(line) || !line.starts_with(kY4mMagic)) file_.fail("truncated Y4M header");
    format_.fields.clear();
    PictureSize size{};
    for (std::size_t at = kY4mMagic.size(); at < line.size();) {
        const std::size_t end = std::min(line.find(' ', at), line.size());
        const std::string field = line.substr(at, end - at);
        at = end + 1;
        if (field.empty()) continue;
        if (field[0] != 'W' && field[0] != 'H') {
            format_.fields.push_back(field);
        } else if (!parseNumber(std::string_view(field).substr(1), field[0] == 'W' ? size.width : size.height)) {
            file_.fail("bad size in the Y4M header");
        }
    }
    if (size.width <= 0 || size.height <= 0) file_.fail("no size in the Y4M header");
    const std::string chroma(format_.value("C", "420"));
    if (chroma != "420" && chroma != "420jpeg" && chroma != "420mpeg2" && chroma != "420paldv") {
        file_.fail("Y4M with chroma format " + chroma + "; only 4:2:0 with 8 bits can be used", kExitUnsuitable);
    }
    layout_ = rawLayout(file_.name(), RawFormat::kI420, size, std::nullopt);
    noteOddSides(file_.name(), size);
}

// False at the end of the input, with what came before it.
bool Y4mReader::readLine(std::string& line) {
    line.clear();
    char next = 0;
    while (line.size() < kLongestLine && file_.read(&next, 1) == 1) {
        if (next == '\n') return true;
        line += next;
    }
    return false;
}

std::string Y4mReader::pictureName() const {
    return "picture " + std::to_string(count_ + 1);
}

std::optional<Picture> Y4mReader::next() {
    std::string line;
    const bool whole = readLine(line);
    if (!whole && line.empty()) return std::nullopt;
    if (!line.starts_with(kPictureMagic.substr(0, line.size())) ||
        (line.size() > kPictureMagic.size() && line[kPictureMagic.size()] != ' ')) {
        file_.fail("damaged Y4M: no " + pictureName() + " where it should begin");
    }
    Picture picture;
    if (!whole || line.size() < kPictureMagic.size() || readRaw(file_, layout_, picture) != RawOutcome::kRead) {
        file_.fail(pictureName() + " is cut short");
    }
    pictureFields_ = line.substr(kPictureMagic.size());
    picture.range = format_.range();
    ++count_;
    return picture;
}

std::optional<std::size_t> Y4mReader::picturesLeft() const {
    const std::optional<std::uintmax_t> bytes = file_.bytesLeft();
    if (!bytes) return std::nullopt;
    return static_cast<std::size_t>(*bytes) / (layout_.bytes() + kPictureMagic.size() + 1);
}

Y4mWriter::Y4mWriter(OutputFile& file, ClipFormat format) : file_(file), format_(std::move(format)) {}

void Y4mWriter::write(const Picture& picture, std::string_view pictureFields) {
    std::string head;
    if (count_ == 0) {
        head = std::string(kY4mMagic) + "W" + std::to_string(picture.width) + " H" + std::to_string(picture.height);
        for (const std::string& field : format_.fields) head += " " + field;
        head += '\n';
    }
    head.append(kPictureMagic).append(pictureFields).append("\n");
    const std::string_view pieces[] = {head, bytesOf(picture.planes[0]), bytesOf(picture.planes[1]),
                                       bytesOf(picture.planes[2])};
    file_.writeWhole(pieces);
    ++count_;
}

}  // namespace eishost
