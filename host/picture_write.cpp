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

bool isImage(const std::string& extension) {
    return extension == ".png" || extension == ".jpg" || extension == ".jpeg";
}

// Opens `path`, lets `write` fill it and makes sure that everything arrived.
template <typename Write>
void writeFile(const std::string& path, Write write) {
    std::ofstream file;
    if (path != "-") {
        file.open(path, std::ios::binary);
        if (!file) throw HostError(kExitUnwritable, path + ": cannot be opened: " + std::strerror(errno));
    }
    std::ostream& out = path == "-" ? std::cout : file;
    write(out);
    if (!out.flush()) throw HostError(kExitUnwritable, path + ": write error");
}

}  // namespace

void savePicture(const std::string& path, const Picture& picture) {
    savePictures(path, std::span(&picture, 1));
}

void savePictures(const std::string& path, std::span<const Picture> pictures) {
    const std::string extension = extensionOf(path);
    if (isImage(extension)) {
        if (pictures.size() != 1)
            throw HostError(kExitUsage, path + ": several pictures need a .y4m, .yuv or .i420 file");
        saveBgr(path, bgrFromPicture(pictures.front()));
    } else if (extension == ".yuv" || extension == ".i420") {
        writeFile(path, [&](std::ostream& out) {
            for (const Picture& picture : pictures)
                for (const auto& plane : picture.planes) writeBytes(out, plane);
        });
    } else if (extension == ".y4m") {
        writeFile(path, [&](std::ostream& out) { writeY4m(out, pictures); });
    } else {
        throw HostError(kExitUsage, path + ": unknown extension, use .png, .jpg, .jpeg, .y4m, .yuv or .i420");
    }
}

void saveBgr(const std::string& path, const cv::Mat& bgr) {
    const std::string extension = extensionOf(path);
    if (!isImage(extension)) throw HostError(kExitUsage, path + ": unknown extension, use .png, .jpg or .jpeg");
    // Burst frames are many and large: PNG's fastest level costs a tenth more space and a fraction of the time.
    const std::vector<int> options = extension == ".png" ? std::vector<int>{cv::IMWRITE_PNG_COMPRESSION, 1}
                                                         : std::vector<int>{cv::IMWRITE_JPEG_QUALITY, kJpegQuality};
    writeFile(path, [&](std::ostream& out) {
        std::vector<std::uint8_t> bytes;
        if (!cv::imencode(extension, bgr, bytes, options)) throw HostError(kExitInternal, path + ": encoder failed");
        writeBytes(out, bytes);
    });
}

}  // namespace eishost
