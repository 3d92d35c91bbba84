#include <algorithm>
#include <cctype>
#include <filesystem>
#include <opencv2/imgcodecs.hpp>
#include <string_view>

#include "host/exit_codes.h"
#include "host/output_file.h"
#include "host/picture.h"

namespace eishost {

namespace {

constexpr int kJpegQuality = 95;

std::string extensionOf(const std::string& path) {
    if (path == "-") return ".y4m";
    std::string extension = std::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return extension;
}

bool isImage(const std::string& extension) {
    return extension == ".png" || extension == ".jpg" || extension == ".jpeg";
}

std::string_view bytesOf(const std::vector<std::uint8_t>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void writePlanes(OutputFile& file, std::string_view head, const Picture& picture) {
    const std::string_view pieces[] = {head, bytesOf(picture.planes[0]), bytesOf(picture.planes[1]),
                                       bytesOf(picture.planes[2])};
    file.writeWhole(pieces);
}

std::string y4mHeader(const Picture& picture) {
    return "YUV4MPEG2 W" + std::to_string(picture.width) + " H" + std::to_string(picture.height) +
           " F30:1 Ip A1:1 C420jpeg XCOLORRANGE=" + (picture.range == ColorRange::kFull ? "FULL" : "LIMITED") + '\n';
}

}  // namespace

void requirePictureOutput(const std::string& path) {
    const std::string extension = extensionOf(path);
    if (!isImage(extension) && extension != ".yuv" && extension != ".i420" && extension != ".y4m")
        throw HostError(kExitUsage, path + ": unknown extension, use .png, .jpg, .jpeg, .y4m, .yuv or .i420");
    requireWritable(path);
}

void requireBgrOutput(const std::string& path) {
    if (!isImage(extensionOf(path))) throw HostError(kExitUsage, path + ": unknown extension, use .png, .jpg or .jpeg");
    requireWritable(path);
}

void savePicture(const std::string& path, const Picture& picture) {
    savePictures(path, std::span(&picture, 1));
}

void savePictures(const std::string& path, std::span<const Picture> pictures) {
    requirePictureOutput(path);
    const std::string extension = extensionOf(path);
    if (isImage(extension)) {
        if (pictures.size() != 1)
            throw HostError(kExitUsage, path + ": several pictures need a .y4m, .yuv or .i420 file");
        saveBgr(path, bgrFromPicture(pictures.front()));
        return;
    }
    OutputFile file(path);
    if (extension == ".y4m") file.write(y4mHeader(pictures.front()));
    for (const Picture& picture : pictures) writePlanes(file, extension == ".y4m" ? "FRAME\n" : "", picture);
    file.commit();
}

void saveBgr(const std::string& path, const cv::Mat& bgr) {
    requireBgrOutput(path);
    const std::string extension = extensionOf(path);
    // Burst frames are many and large: PNG's fastest level costs a tenth more space and a fraction of the time.
    const std::vector<int> options = extension == ".png" ? std::vector<int>{cv::IMWRITE_PNG_COMPRESSION, 1}
                                                         : std::vector<int>{cv::IMWRITE_JPEG_QUALITY, kJpegQuality};
    std::vector<std::uint8_t> bytes;
    if (!cv::imencode(extension, bgr, bytes, options)) throw HostError(kExitInternal, path + ": encoder failed");
    saveFile(path, bytesOf(bytes));
}

}  // namespace eishost
