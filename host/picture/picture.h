// The picture type of the tools, and picture files.
//
// A picture is planar YUV 4:2:0 with 8-bit samples and even sides. Colours are BT.601 full range with chroma sited
// between the four luma samples, as in JPEG, unless a Y4M says that its range is limited; the range matters only where
// a picture is turned into RGB or back, samples are never changed for it.
//
// Formats: PNG and JPEG (through RGB, so chroma is not kept exactly), Y4M in 4:2:0 with 8 bits, and raw I420, NV12 and
// NV21; P010 is read alone. Input is told by its first bytes; raw pictures need a size, and a format where the file's
// extension names none. Output is told by the extension (.png, .jpg, .jpeg, .y4m, .i420, .nv12, .nv21, .yuv). "-" is
// standard input, or standard output as Y4M. Odd sides lose their last column or row, and a note tells so, as it tells
// what else reading drops; a photograph is turned as its EXIF says.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <opencv2/core.hpp>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace eishost {

enum class ColorRange { kFull, kLimited };

struct Picture {
    Picture() = default;
    Picture(int pictureWidth, int pictureHeight);  // zeroed planes; HostError as checkSize
    static void checkSize(int width, int height);  // HostError for sides that are odd or out of range

    int chromaWidth() const { return width / 2; }
    int chromaHeight() const { return height / 2; }
    // Views without a copy. plane 0 is luma, 1 and 2 are chroma.
    cv::Mat mat(int plane);
    cv::Mat mat(int plane) const;  // not to be written through

    int width = 0;
    int height = 0;
    ColorRange range = ColorRange::kFull;
    std::vector<std::uint8_t> planes[3];  // tight: the pitch is the plane's width
};

struct PictureSize {
    int width;
    int height;
};

enum class RawFormat { kI420, kNv12, kNv21, kP010 };

// What the user tells of raw pictures, which have no header.
struct RawOptions {
    RawOptions() = default;
    explicit(false) RawOptions(PictureSize pictureSize) : size(pictureSize) {}

    std::optional<PictureSize> size;  // of the input
    std::optional<RawFormat> format;  // of the input and of a .yuv; a file's extension comes first if it names one
    std::optional<int> stride;        // bytes from row to row of luma in the input
    std::optional<int> outputStride;
};

constexpr int kMaxPictureSide = 32768;
constexpr std::size_t kMaxPicturePixels = std::size_t{1} << 28;

// "4000x3000" to a size; HostError(kExitUsage) for anything else.
PictureSize parseSize(const std::string& text);

// 8-bit BGR to a picture and back. The sides of `bgr` must be even.
Picture pictureFromBgr(const cv::Mat& bgr);
cv::Mat bgrFromPicture(const Picture& picture);

class PictureSource;
struct ClipFormat;

// Reads the pictures of one file or pipe in order: a PNG or JPEG has one, a Y4M or raw file any number. All throw
// HostError: kExitUnreadable for what cannot be read, kExitUnsuitable for odd or oversized pictures, kExitUsage for a
// raw format that is not told. A raw file must be a whole number of pictures.
class PictureReader {
  public:
    explicit PictureReader(const std::string& path, const RawOptions& raw = {});
    ~PictureReader();

    // The next picture, or nothing at the end.
    std::optional<Picture> next();

    // What a Y4M says of itself, and of the picture that was read last; null and empty for other files.
    const ClipFormat* clipFormat() const;
    std::string_view pictureFields() const;

    // How many pictures are to come, as far as the length of a file tells.
    std::optional<std::size_t> picturesLeft() const;

  private:
    std::unique_ptr<PictureSource> source_;
};

// For a reader whose pictures go where no interlacing is known.
void noteInterlacing(const PictureReader& reader, const std::string& path);

// All pictures of a file, at least one.
std::vector<Picture> loadPictures(const std::string& path, const RawOptions& raw = {});

// The picture of a file that must hold exactly one.
Picture loadPicture(const std::string& path, const RawOptions& raw = {});

// As loadPicture, but 8-bit BGR; a PNG or JPEG may have odd sides here.
cv::Mat loadBgr(const std::string& path, const RawOptions& raw = {});

// Throw what writing a picture, or 8-bit BGR, to `path` would throw as far as that can be known before the work.
void requirePictureOutput(const std::string& path);
void requireBgrOutput(const std::string& path);

class PictureSink;

// Writes one picture, or several of equal size as one Y4M or raw file, each as it comes. HostError: kExitUsage for an
// unknown extension, for a second picture in a PNG or JPEG and for a stride that is too short, kExitUnwritable.
class PictureWriter {
  public:
    // `clip`, when not null, is what a Y4M says of itself.
    explicit PictureWriter(const std::string& path, const RawOptions& raw = {}, const ClipFormat* clip = nullptr);
    ~PictureWriter();

    void write(const Picture& picture, std::string_view pictureFields = {});

    // Without it nothing is left of a file.
    void finish();

    // Finishes a file that holds good pictures although more were to come. Their number; 0 when there is none, or the
    // file is of no use without the rest.
    std::size_t finishEarly();

  private:
    std::unique_ptr<PictureSink> sink_;
};

void savePicture(const std::string& path, const Picture& picture, const RawOptions& raw = {});
void savePictures(const std::string& path, std::span<const Picture> pictures, const RawOptions& raw = {});

// Writes 8-bit BGR as PNG or JPEG, by the extension.
void saveBgr(const std::string& path, const cv::Mat& bgr);

}  // namespace eishost
