#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <opencv2/imgcodecs.hpp>

#include "host/exit_codes.h"
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

void writeBytes(std::ostream& out, const std::vector<std::uint8_t>& bytes) {
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void writeY4m(std::ostream& out, std::span<const Picture> pictures) {
    const Picture& first = pictures.front();
    out << "YUV4MPEG2 W" << first.width << " H" << first.height
        << " F30:1 Ip A1:1 C420jpeg XCOLORRANGE=" << (first.range == ColorRange::kFull ? "FULL" : "LIMITED") << '\n';
    for (const Picture& picture : pictures) {
        out << "FRAME\n";
        for (const auto& plane : picture.planes) writeBytes(out, plane);
    }
}

void writeImage(std::ostream& out, const Picture& picture, const std::string& extension) {
    // Burst frames are many and large: PNG's fastest level costs a tenth more space and a fraction of the time.
    const std::vector<int> options = extension == ".png" ? std::vector<int>{cv::IMWRITE_PNG_COMPRESSION, 1}
                                                         : std::vector<int>{cv::IMWRITE_JPEG_QUALITY, kJpegQuality};
    std::vector<std::uint8_t> bytes;
    if (cv::imencode(extension, bgrFromPicture(picture), bytes, options)) writeBytes(out, bytes);
}

}  // namespace

void savePicture(const std::string& path, const Picture& picture) {
    savePictures(path, std::span(&picture, 1));
}

void savePictures(const std::string& path, std::span<const Picture> pictures) {
    const std::string extension = extensionOf(path);
    const bool image = extension == ".png" || extension == ".jpg" || extension == ".jpeg";
    const bool raw = extension == ".yuv" || extension == ".i420";
    if (!image && !raw && extension != ".y4m")
        throw HostError(kExitUsage, path + ": unknown extension, use .png, .jpg, .jpeg, .y4m, .yuv or .i420");
    if (image && pictures.size() != 1)
        throw HostError(kExitUsage, path + ": several pictures need a .y4m, .yuv or .i420 file");

    std::ofstream file;
    if (path != "-") {
        file.open(path, std::ios::binary);
        if (!file) throw HostError(kExitUnwritable, path + ": cannot be opened: " + std::strerror(errno));
    }
    std::ostream& out = path == "-" ? std::cout : file;
    if (image) {
        writeImage(out, pictures.front(), extension);
    } else if (raw) {
        for (const Picture& picture : pictures)
            for (const auto& plane : picture.planes) writeBytes(out, plane);
    } else {
        writeY4m(out, pictures);
    }
    if (!out.flush()) throw HostError(kExitUnwritable, path + ": write error");
}

}  // namespace eishost
