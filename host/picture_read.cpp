#include <algorithm>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <opencv2/imgcodecs.hpp>
#include <string_view>
#include <utility>

#include "host/exit_codes.h"
#include "host/picture.h"

namespace eishost {

namespace {

constexpr std::string_view kY4mMagic = "YUV4MPEG2 ";
constexpr std::string_view kPngMagic = "\x89PNG\r\n\x1a\n";
constexpr std::string_view kJpegMagic = "\xff\xd8\xff";
constexpr std::size_t kLongestHeader = 4096;

std::uint32_t bigEndian(std::string_view bytes, std::size_t at, int count) {
    std::uint32_t value = 0;
    for (int i = 0; i < count; ++i) value = value << 8 | static_cast<std::uint8_t>(bytes[at + i]);
    return value;
}

// The decoders fill up the rest of a truncated file with grey and call it a success, so its end is looked for here.
bool pngIsWhole(std::string_view bytes) {
    std::size_t at = kPngMagic.size();
    while (at + 12 <= bytes.size()) {
        const std::size_t length = bigEndian(bytes, at, 4);
        if (length > bytes.size() - at - 12) return false;
        if (bytes.substr(at + 4, 4) == "IEND") return true;
        at += length + 12;
    }
    return false;
}

bool jpegIsWhole(std::string_view bytes) {
    std::size_t at = 2;
    while (at + 4 <= bytes.size() && bytes[at] == '\xff') {
        const auto marker = static_cast<std::uint8_t>(bytes[at + 1]);
        if (marker == 0xff) {  // a fill byte
            ++at;
            continue;
        }
        // Past the start of scan an end of image cannot be data: a byte of 255 is followed by 0 there.
        if (marker == 0xda) return bytes.find("\xff\xd9", at) != std::string_view::npos;
        at += 2 + bigEndian(bytes, at + 2, 2);
    }
    return false;
}

bool parseSide(std::string_view text, int& side) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), side);
    return error == std::errc() && end == text.data() + text.size();
}

}  // namespace

class PictureSource {
  public:
    PictureSource(const std::string& path, std::optional<PictureSize> rawSize);
    std::optional<Picture> next();
    bool isImage() const { return format_ == Format::kImage; }
    cv::Mat decodeImage();

  private:
    enum class Format { kImage, kY4m, kRaw };
    std::size_t take(char* out, std::size_t count);
    std::string takeLine();
    std::optional<Picture> nextY4m();
    std::optional<Picture> nextRaw();
    void readY4mHeader();
    bool readPlanes(Picture& picture);
    template <typename Make>
    Picture named(Make make) const;
    [[noreturn]] void fail(const std::string& what, ExitCode code = kExitUnreadable) const;

    std::string name_;
    std::ifstream file_;
    std::istream* stream_;
    std::string head_;  // bytes read to tell the format, given out again by take()
    Format format_ = Format::kImage;
    PictureSize size_{};
    ColorRange range_ = ColorRange::kFull;
    bool atStart_ = true;
};

PictureSource::PictureSource(const std::string& path, std::optional<PictureSize> rawSize)
    : name_(path == "-" ? "standard input" : path), stream_(&std::cin) {
    if (path != "-") {
        if (std::filesystem::is_directory(path)) fail("is a directory");
        file_.open(path, std::ios::binary);
        if (!file_) fail(std::string("cannot be opened: ") + std::strerror(errno));
        stream_ = &file_;
    }
    char magic[kY4mMagic.size()];
    head_.assign(magic, take(magic, sizeof magic));
    if (head_.empty()) fail("is empty");
    if (head_.starts_with(kY4mMagic)) {
        format_ = Format::kY4m;
        readY4mHeader();
    } else if (head_.starts_with(kPngMagic) || head_.starts_with(kJpegMagic)) {
        format_ = Format::kImage;
    } else if (rawSize) {
        format_ = Format::kRaw;
        size_ = *rawSize;
    } else {
        fail("is not PNG, JPEG or Y4M; for raw I420 give --raw-size WxH");
    }
}

void PictureSource::fail(const std::string& what, ExitCode code) const {
    throw HostError(code, name_ + ": " + what);
}

std::size_t PictureSource::take(char* out, std::size_t count) {
    const std::size_t fromHead = std::min(count, head_.size());
    std::copy_n(head_.begin(), fromHead, out);
    head_.erase(0, fromHead);
    stream_->read(out + fromHead, static_cast<std::streamsize>(count - fromHead));
    if (stream_->bad()) fail("read error");
    return fromHead + static_cast<std::size_t>(stream_->gcount());
}

std::string PictureSource::takeLine() {
    std::string line;
    char next = 0;
    while (line.size() < kLongestHeader && take(&next, 1) == 1) {
        if (next == '\n') return line;
        line += next;
    }
    fail("truncated Y4M header");
}

void PictureSource::readY4mHeader() {
    const std::string line = takeLine();
    std::string chroma = "420";
    std::string range;
    std::size_t at = kY4mMagic.size();
    while (at < line.size()) {
        const std::size_t end = std::min(line.find(' ', at), line.size());
        const std::string_view field = std::string_view(line).substr(at, end - at);
        at = end + 1;
        if (field.empty()) continue;
        const std::string_view value = field.substr(1);
        if ((field[0] == 'W' && !parseSide(value, size_.width)) || (field[0] == 'H' && !parseSide(value, size_.height)))
            fail("bad size in the Y4M header");
        if (field[0] == 'C') chroma = value;
        if (field.starts_with("XCOLORRANGE=")) range = field.substr(12);
    }
    if (size_.width <= 0 || size_.height <= 0) fail("no size in the Y4M header");
    if (chroma != "420" && chroma != "420jpeg" && chroma != "420mpeg2" && chroma != "420paldv")
        fail("Y4M with chroma format " + chroma + "; only 4:2:0 with 8 bits can be used", kExitUnsuitable);
    // Without a word on it, the formats of video discs and tape mean video's range.
    const bool limited = range.empty() ? chroma == "420mpeg2" || chroma == "420paldv" : range == "LIMITED";
    range_ = limited ? ColorRange::kLimited : ColorRange::kFull;
}

// Adds the file's name to a refusal of the picture's size.
template <typename Make>
Picture PictureSource::named(Make make) const {
    try {
        return make();
    } catch (const HostError& error) {
        fail(error.what(), error.code);
    }
}

// False when not one byte was left.
bool PictureSource::readPlanes(Picture& picture) {
    std::size_t got = 0;
    for (auto& plane : picture.planes) {
        const std::size_t count = take(reinterpret_cast<char*>(plane.data()), plane.size());
        got += count;
        if (count == plane.size()) continue;
        if (got == 0) return false;
        fail("truncated: the last picture is not whole" +
             std::string(format_ == Format::kRaw ? ", or the size does not fit" : ""));
    }
    picture.range = range_;
    return true;
}

std::optional<Picture> PictureSource::nextY4m() {
    char first = 0;
    if (take(&first, 1) == 0) return std::nullopt;
    if (const std::string line = first + takeLine(); line != "FRAME" && !line.starts_with("FRAME "))
        fail("damaged Y4M: no picture where one should begin");
    Picture picture = named([this] { return Picture(size_.width, size_.height); });
    if (!readPlanes(picture)) fail("truncated: the last picture is missing");
    return picture;
}

std::optional<Picture> PictureSource::nextRaw() {
    Picture picture = named([this] { return Picture(size_.width, size_.height); });
    if (!readPlanes(picture)) return std::nullopt;
    return picture;
}

cv::Mat PictureSource::decodeImage() {
    std::string bytes = head_;
    head_.clear();
    bytes.append(std::istreambuf_iterator<char>(*stream_), {});
    if (stream_->bad()) fail("read error");
    if (!(bytes.starts_with(kPngMagic) ? pngIsWhole(bytes) : jpegIsWhole(bytes))) fail("truncated or damaged");
    cv::Mat bgr;
    try {
        bgr = cv::imdecode(cv::Mat(1, static_cast<int>(bytes.size()), CV_8UC1, bytes.data()), cv::IMREAD_COLOR);
    } catch (const cv::Exception&) {
        bgr.release();  // the limits of the decoder
    }
    if (bgr.empty()) fail("cannot be decoded");
    return bgr;
}

std::optional<Picture> PictureSource::next() {
    const bool first = std::exchange(atStart_, false);
    if (format_ == Format::kImage) {
        if (!first) return std::nullopt;
        const cv::Mat bgr = decodeImage();
        return named([&bgr] { return pictureFromBgr(bgr); });
    }
    std::optional<Picture> picture = format_ == Format::kY4m ? nextY4m() : nextRaw();
    if (first && !picture) fail("holds no picture");
    return picture;
}

PictureReader::PictureReader(const std::string& path, std::optional<PictureSize> rawSize)
    : source_(std::make_unique<PictureSource>(path, rawSize)) {}

PictureReader::~PictureReader() = default;

std::optional<Picture> PictureReader::next() {
    return source_->next();
}

std::vector<Picture> loadPictures(const std::string& path, std::optional<PictureSize> rawSize) {
    PictureReader reader(path, rawSize);
    std::vector<Picture> pictures;
    while (std::optional<Picture> picture = reader.next()) pictures.push_back(std::move(*picture));
    return pictures;
}

Picture loadPicture(const std::string& path, std::optional<PictureSize> rawSize) {
    PictureReader reader(path, rawSize);
    std::optional<Picture> picture = reader.next();
    if (reader.next()) throw HostError(kExitUnsuitable, path + ": holds several pictures where one is wanted");
    return std::move(*picture);
}

cv::Mat loadBgr(const std::string& path, std::optional<PictureSize> rawSize) {
    PictureSource source(path, rawSize);
    if (source.isImage()) return source.decodeImage();
    const std::optional<Picture> picture = source.next();
    if (source.next()) throw HostError(kExitUnsuitable, path + ": holds several pictures where one is wanted");
    return bgrFromPicture(*picture);
}

}  // namespace eishost
