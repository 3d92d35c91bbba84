#include <algorithm>
#include <atomic>
#include <opencv2/imgcodecs.hpp>
#include <string_view>
#include <utility>

#include "host/picture/image_codecs.h"
#include "host/picture/picture.h"
#include "host/picture/picture_names.h"
#include "host/picture/picture_notes.h"
#include "host/picture/raw_picture.h"
#include "host/program/exit_codes.h"
#include "host/program/input_file.h"
#include "host/program/messages.h"
#include "host/video/y4m_stream.h"

namespace eishost {

namespace {

constexpr std::string_view kPngMagic = "\x89PNG\r\n\x1a\n";
constexpr std::string_view kJpegMagic = "\xff\xd8\xff";

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

bool isImage(InputFile& file) {
    const std::string_view magic = file.peek(kPngMagic.size());
    return magic.starts_with(kPngMagic) || magic.starts_with(kJpegMagic);
}

cv::Mat imageOf(InputFile& file) {
    std::string bytes = file.readAll();
    if (!(bytes.starts_with(kPngMagic) ? pngIsWhole(bytes) : jpegIsWhole(bytes))) file.fail("truncated or damaged");
    cv::Mat bgr;
    try {
        bgr = decodeImage(cv::Mat(1, static_cast<int>(bytes.size()), CV_8UC1, bytes.data()), cv::IMREAD_COLOR);
    } catch (const cv::Exception&) {
        bgr.release();  // the limits of the decoder
    }
    if (bgr.empty()) file.fail("cannot be decoded");
    const std::string dropped = droppedByReading(bytes);
    if (!dropped.empty()) note(file.name() + ": dropped on reading: " + dropped);
    return bgr;
}

// Chroma of a wrong format is another picture's colours, so what is only likely is told.
RawFormat rawFormatToRead(const std::string& path, const RawOptions& raw) {
    const std::optional<RawFormat> named = rawFormatOf(path);
    if (raw.format) {
        if (named && *named != *raw.format) {
            note(path + ": read as " + nameOf(*raw.format) + ", as --raw-format says");
        }
        return *raw.format;
    }
    if (named) return *named;
    if (path != "-" && extensionOf(path) != ".yuv") {
        throw HostError(kExitUsage, path + ": the extension tells no raw format; give --raw-format");
    }
    static std::atomic<bool> told{false};
    if (!told.exchange(true)) note(path + ": read as I420; if it is not, give --raw-format");
    return RawFormat::kI420;
}

}  // namespace

class PictureSource {
  public:
    virtual ~PictureSource() = default;
    virtual std::optional<Picture> next() = 0;
    virtual const ClipFormat* clipFormat() const { return nullptr; }
    virtual std::string_view pictureFields() const { return {}; }
    virtual std::optional<std::size_t> picturesLeft() const { return std::nullopt; }
};

namespace {

class ImageSource : public PictureSource {
  public:
    explicit ImageSource(InputFile file) : file_(std::move(file)) {}

    std::optional<Picture> next() override {
        if (std::exchange(done_, true)) return std::nullopt;
        const cv::Mat bgr = imageOf(file_);
        try {
            noteOddSides(file_.name(), {bgr.cols, bgr.rows});
            return pictureFromBgr(bgr(cv::Rect(0, 0, bgr.cols & ~1, bgr.rows & ~1)));
        } catch (const HostError& error) {
            file_.fail(error.what(), error.code);
        }
    }

  private:
    InputFile file_;
    bool done_ = false;
};

class ClipSource : public PictureSource {
  public:
    explicit ClipSource(InputFile file) : name_(file.name()), reader_(std::move(file)) {}

    std::optional<Picture> next() override {
        std::optional<Picture> picture = reader_.next();
        if (!std::exchange(begun_, true) && !picture) throw HostError(kExitUnreadable, name_ + ": holds no picture");
        return picture;
    }
    const ClipFormat* clipFormat() const override { return &reader_.format(); }
    std::string_view pictureFields() const override { return reader_.pictureFields(); }
    std::optional<std::size_t> picturesLeft() const override { return reader_.picturesLeft(); }

  private:
    std::string name_;
    Y4mReader reader_;
    bool begun_ = false;
};

class RawSource : public PictureSource {
  public:
    RawSource(InputFile file, const RawLayout& layout) : file_(std::move(file)), layout_(layout) {
        noteOddSides(file_.name(), layout_.size);
        // A wrong size or stride makes noise of every picture but the first, so that it is found before any is used.
        const std::optional<std::uintmax_t> bytes = file_.bytesLeft();
        const std::size_t picture = std::max(layout_.bytes(), std::size_t{1});  // as a size is at least 1x1
        if (!bytes || *bytes % picture == 0 || (*bytes + layout_.padding()) % picture == 0) return;
        file_.fail("truncated, or the size does not fit: " + std::to_string(*bytes) +
                   " bytes are no whole number of pictures of " + std::to_string(picture));
    }

    std::optional<Picture> next() override {
        Picture picture;
        const RawOutcome outcome = readRaw(file_, layout_, picture);
        if (outcome == RawOutcome::kCutShort) {
            file_.fail("picture " + std::to_string(count_ + 1) + " is cut short, or the size does not fit");
        }
        if (outcome == RawOutcome::kEnd) return std::nullopt;
        ++count_;
        return picture;
    }

  private:
    InputFile file_;
    RawLayout layout_;
    std::size_t count_ = 0;
};

std::unique_ptr<PictureSource> openSource(InputFile file, const std::string& path, const RawOptions& raw) {
    if (file.peek(1).empty()) file.fail("is empty");
    const std::optional<RawFormat> named = rawFormatOf(path);
    if (!named || !raw.size) {  // the first bytes of raw pictures may look like anything
        if (isImage(file)) return std::make_unique<ImageSource>(std::move(file));
        if (file.peek(kY4mMagic.size()) == kY4mMagic) return std::make_unique<ClipSource>(std::move(file));
    }
    const std::string extension = extensionOf(path);
    if (isImageName(extension) || (extension == ".y4m" && path != "-")) file.fail("is not PNG, JPEG or Y4M");
    if (!raw.size) {
        file.fail(named ? std::string("raw ") + nameOf(*named) + " needs --raw-size WxH"
                        : "is not PNG, JPEG or Y4M; for raw pictures give --raw-size WxH and --raw-format");
    }
    return std::make_unique<RawSource>(std::move(file),
                                       rawLayout(path, rawFormatToRead(path, raw), *raw.size, raw.stride));
}

[[noreturn]] void refuseSeveral(const std::string& path) {
    throw HostError(kExitUnsuitable, path + ": holds several pictures where one is wanted");
}

}  // namespace

PictureReader::PictureReader(const std::string& path, const RawOptions& raw)
    : source_(openSource(InputFile(path), path, raw)) {}

PictureReader::~PictureReader() = default;

std::optional<Picture> PictureReader::next() {
    return source_->next();
}

const ClipFormat* PictureReader::clipFormat() const {
    return source_->clipFormat();
}

std::string_view PictureReader::pictureFields() const {
    return source_->pictureFields();
}

std::optional<std::size_t> PictureReader::picturesLeft() const {
    return source_->picturesLeft();
}

std::vector<Picture> loadPictures(const std::string& path, const RawOptions& raw) {
    PictureReader reader(path, raw);
    std::vector<Picture> pictures;
    while (std::optional<Picture> picture = reader.next()) pictures.push_back(std::move(*picture));
    return pictures;
}

void noteInterlacing(const PictureReader& reader, const std::string& path) {
    if (reader.clipFormat() == nullptr || !reader.clipFormat()->interlaced()) return;
    note(path + ": is interlaced, its fields are taken as one picture");
}

Picture loadPicture(const std::string& path, const RawOptions& raw) {
    PictureReader reader(path, raw);
    noteInterlacing(reader, path);
    std::optional<Picture> picture = reader.next();
    if (reader.next()) refuseSeveral(path);
    return std::move(*picture);
}

cv::Mat loadBgr(const std::string& path, const RawOptions& raw) {
    InputFile file(path);
    if (!rawFormatOf(path) && isImage(file)) return imageOf(file);
    const std::unique_ptr<PictureSource> source = openSource(std::move(file), path, raw);
    const std::optional<Picture> picture = source->next();
    if (source->next()) refuseSeveral(path);
    return bgrFromPicture(*picture);
}

}  // namespace eishost
