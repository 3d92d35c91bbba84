// The picture type of the tools, and picture files.
//
// A picture is planar YUV 4:2:0 with 8-bit samples and even sides. Colours are BT.601 full range with chroma sited
// between the four luma samples, as in JPEG, unless a Y4M says that its range is limited; the range matters only where
// a picture is turned into RGB or back, samples are never changed for it.
//
// Formats: PNG and JPEG (through RGB, so chroma is not kept exactly), Y4M in 4:2:0 with 8 bits, and raw I420. Input is
// told by its first bytes, and taken as raw only if a size is given; output is told by the file's extension (.png,
// .jpg, .jpeg, .y4m, .yuv, .i420). "-" is standard input, or standard output as Y4M. Odd sides are refused: a cut
// would shift what the user compares with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <opencv2/core.hpp>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace eishost {

enum class ColorRange { kFull, kLimited };

struct Picture {
    Picture() = default;
    Picture(int pictureWidth, int pictureHeight);  // zeroed planes; HostError for sides that are odd or out of range

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

constexpr int kMaxPictureSide = 32768;
constexpr std::size_t kMaxPicturePixels = std::size_t{1} << 28;

// "4000x3000" to a size; HostError(kExitUsage) for anything else.
PictureSize parseSize(const std::string& text);

// 8-bit BGR to a picture and back. The sides of `bgr` must be even.
Picture pictureFromBgr(const cv::Mat& bgr);
cv::Mat bgrFromPicture(const Picture& picture);

class PictureSource;

// Reads the pictures of one file or pipe in order: a PNG or JPEG has one, a Y4M or raw file any number. All throw
// HostError: kExitUnreadable for what cannot be read, kExitUnsuitable for odd or oversized pictures. A raw file must be
// a whole number of pictures of `rawSize`.
class PictureReader {
  public:
    explicit PictureReader(const std::string& path, std::optional<PictureSize> rawSize = std::nullopt);
    ~PictureReader();

    // The next picture, or nothing at the end.
    std::optional<Picture> next();

  private:
    std::unique_ptr<PictureSource> source_;
};

// All pictures of a file, at least one.
std::vector<Picture> loadPictures(const std::string& path, std::optional<PictureSize> rawSize = std::nullopt);

// The picture of a file that must hold exactly one.
Picture loadPicture(const std::string& path, std::optional<PictureSize> rawSize = std::nullopt);

// As loadPicture, but 8-bit BGR; a PNG or JPEG may have odd sides here.
cv::Mat loadBgr(const std::string& path, std::optional<PictureSize> rawSize = std::nullopt);

// Throw what writing a picture, or 8-bit BGR, to `path` would throw as far as that can be known before the work.
void requirePictureOutput(const std::string& path);
void requireBgrOutput(const std::string& path);

// Writes one picture, or several of equal size as one Y4M or raw file. HostError: kExitUsage for an unknown extension,
// kExitUnwritable.
void savePicture(const std::string& path, const Picture& picture);
void savePictures(const std::string& path, std::span<const Picture> pictures);

// Writes 8-bit BGR as PNG or JPEG, by the extension.
void saveBgr(const std::string& path, const cv::Mat& bgr);

}  // namespace eishost
