#include <algorithm>
#include <cctype>
#include <filesystem>
#include <opencv2/imgcodecs.hpp>
#include <string_view>

#include "host/picture/image_codecs.h"
#include "host/picture/picture.h"
#include "host/picture/picture_names.h"
#include "host/picture/raw_picture.h"
#include "host/program/exit_codes.h"
#include "host/program/messages.h"
#include "host/program/output_file.h"
#include "host/video/y4m_stream.h"

namespace eishost {

namespace {

constexpr int kJpegQuality = 95;

std::string_view bytesOf(const std::vector<std::uint8_t>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::vector<std::uint8_t> encode(const std::string& path, const cv::Mat& bgr) {
    const std::string extension = extensionOf(path);
    // Burst frames are many and large: PNG's fastest level costs a tenth more space and a fraction of the time.
    const std::vector<int> options = extension == ".png" ? std::vector<int>{cv::IMWRITE_PNG_COMPRESSION, 1}
                                                         : std::vector<int>{cv::IMWRITE_JPEG_QUALITY, kJpegQuality};
    std::vector<std::uint8_t> bytes;
    if (!encodeImage(extension, bgr, options, bytes)) throw HostError(kExitInternal, path + ": encoder failed");
    return bytes;
}

RawFormat rawFormatToWrite(const std::string& path, const RawOptions& raw) {
    if (const std::optional<RawFormat> named = rawFormatOf(path)) return *named;
    if (raw.format && *raw.format != RawFormat::kP010) return *raw.format;
    note(path + ": written as I420; .nv12 and .nv21 are other formats");
    return RawFormat::kI420;
}

}  // namespace

std::string extensionOf(const std::string& path) {
    if (path == "-") return ".y4m";
    std::string extension = std::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return extension;
}

bool isImageName(const std::string& extension) {
    return extension == ".png" || extension == ".jpg" || extension == ".jpeg";
}

void requirePictureOutput(const std::string& path) {
    const std::string extension = extensionOf(path);
    const std::optional<RawFormat> named = rawFormatOf(path);
    if (named == RawFormat::kP010) throw HostError(kExitUsage, path + ": P010 can be read, not written");
    if (!named && !isImageName(extension) && extension != ".yuv" && extension != ".y4m")
        throw HostError(kExitUsage,
                        path + ": unknown extension, use .png, .jpg, .jpeg, .y4m, .yuv, .i420, .nv12 or .nv21");
    requireWritable(path);
}

void requireBgrOutput(const std::string& path) {
    if (!isImageName(extensionOf(path)))
        throw HostError(kExitUsage, path + ": unknown extension, use .png, .jpg or .jpeg");
    requireWritable(path);
}

// One of the three kinds of file.
class PictureSink {
  public:
    PictureSink(const std::string& path, const RawOptions& raw, const ClipFormat* clip)
        : path_(path), stride_(raw.outputStride), file_(path) {
        if (extensionOf(path) == ".y4m") {
            clip_ = true;
            if (clip != nullptr) writer_.emplace(file_, *clip);
        } else if (!isImageName(extensionOf(path))) {
            raw_ = rawFormatToWrite(path, raw);
        }
        if (!clip_ && clip != nullptr && clip->interlaced()) note(path + ": cannot tell that the clip is interlaced");
    }

    void write(const Picture& picture, std::string_view pictureFields) {
        if (clip_) {
            if (!writer_) writer_.emplace(file_, defaultClipFormat(picture.range));
            writer_->write(picture, pictureFields);
        } else if (raw_) {
            const std::vector<std::uint8_t> bytes =
                rawBytes(rawLayout(path_, *raw_, {picture.width, picture.height}, stride_), picture);
            const std::string_view pieces[] = {bytesOf(bytes)};
            file_.writeWhole(pieces);
        } else {
            if (count_ > 0)
                throw HostError(kExitUsage, path_ + ": several pictures need a .y4m, .yuv, .i420, .nv12 or .nv21");
            file_.write(bytesOf(encode(path_, bgrFromPicture(picture))));
        }
        ++count_;
    }

    void finish() { file_.commit(); }

    std::size_t countOfUse() const { return clip_ || raw_ ? count_ : 0; }

  private:
    std::string path_;
    std::optional<int> stride_;
    OutputFile file_;
    bool clip_ = false;
    std::optional<Y4mWriter> writer_;
    std::optional<RawFormat> raw_;
    std::size_t count_ = 0;
};

PictureWriter::PictureWriter(const std::string& path, const RawOptions& raw, const ClipFormat* clip) {
    requirePictureOutput(path);
    sink_ = std::make_unique<PictureSink>(path, raw, clip);
}

PictureWriter::~PictureWriter() = default;

void PictureWriter::write(const Picture& picture, std::string_view pictureFields) {
    sink_->write(picture, pictureFields);
}

void PictureWriter::finish() {
    sink_->finish();
}

std::size_t PictureWriter::finishEarly() {
    const std::size_t count = sink_->countOfUse();
    if (count > 0) sink_->finish();
    return count;
}

void savePicture(const std::string& path, const Picture& picture, const RawOptions& raw) {
    savePictures(path, std::span(&picture, 1), raw);
}

void savePictures(const std::string& path, std::span<const Picture> pictures, const RawOptions& raw) {
    PictureWriter writer(path, raw);
    for (const Picture& picture : pictures) writer.write(picture);
    writer.finish();
}

void saveBgr(const std::string& path, const cv::Mat& bgr) {
    requireBgrOutput(path);
    saveFile(path, bytesOf(encode(path, bgr)));
}

}  // namespace eishost
