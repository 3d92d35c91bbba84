#include "host/picture/picture.h"

#include <charconv>
#include <opencv2/imgproc.hpp>

#include "host/program/exit_codes.h"

namespace eishost {

namespace {

// Limited range: luma 16..235, chroma 16..240 about 128.
constexpr double kLumaGain = 219.0 / 255.0;
constexpr double kChromaGain = 224.0 / 255.0;

std::string sizeText(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

}  // namespace

void Picture::checkSize(int width, int height) {
    const auto luma = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    if (width < 2 || height < 2 || width > kMaxPictureSide || height > kMaxPictureSide || luma > kMaxPicturePixels)
        throw HostError(kExitUnsuitable, "a picture of " + sizeText(width, height) + " pixels is " +
                                             (width < 2 || height < 2 ? "too small" : "too large"));
    if (width % 2 != 0 || height % 2 != 0)
        throw HostError(kExitUnsuitable, "a picture of " + sizeText(width, height) +
                                             " pixels: 4:2:0 needs even sides, crop it to even ones first");
}

Picture::Picture(int pictureWidth, int pictureHeight) : width(pictureWidth), height(pictureHeight) {
    checkSize(width, height);
    const auto luma = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    planes[0].resize(luma);
    planes[1].resize(luma / 4);
    planes[2].resize(luma / 4);
}

cv::Mat Picture::mat(int plane) {
    return plane == 0 ? cv::Mat(height, width, CV_8UC1, planes[0].data())
                      : cv::Mat(chromaHeight(), chromaWidth(), CV_8UC1, planes[plane].data());
}

cv::Mat Picture::mat(int plane) const {
    return const_cast<Picture*>(this)->mat(plane);
}

PictureSize parseSize(const std::string& text) {
    PictureSize size{};
    const char* const end = text.data() + text.size();
    const auto [afterWidth, widthError] = std::from_chars(text.data(), end, size.width);
    if (widthError == std::errc() && afterWidth != end && (*afterWidth == 'x' || *afterWidth == 'X')) {
        const auto [afterHeight, heightError] = std::from_chars(afterWidth + 1, end, size.height);
        if (heightError == std::errc() && afterHeight == end && size.width > 0 && size.height > 0) return size;
    }
    throw HostError(kExitUsage, "'" + text + "' is not a size like 4000x3000");
}

Picture pictureFromBgr(const cv::Mat& bgr) {
    Picture picture(bgr.cols, bgr.rows);
    cv::Mat ycc;
    cv::cvtColor(bgr, ycc, cv::COLOR_BGR2YCrCb);
    cv::extractChannel(ycc, picture.mat(0), 0);
    for (const int plane : {1, 2}) {
        cv::Mat full;
        cv::extractChannel(ycc, full, plane == 1 ? 2 : 1);
        cv::resize(full, picture.mat(plane), {picture.chromaWidth(), picture.chromaHeight()}, 0, 0, cv::INTER_AREA);
    }
    return picture;
}

cv::Mat bgrFromPicture(const Picture& picture) {
    cv::Mat channels[3];  // Y, Cr, Cb
    for (const int plane : {0, 1, 2}) {
        cv::Mat samples = picture.mat(plane);
        if (picture.range == ColorRange::kLimited) {
            const double gain = plane == 0 ? kLumaGain : kChromaGain;
            const double zero = plane == 0 ? 16 : 128;
            cv::Mat full;
            samples.convertTo(full, CV_8U, 1 / gain, (plane == 0 ? 0 : 128) - zero / gain);
            samples = full;
        }
        if (plane == 0)
            channels[0] = samples;
        else
            cv::resize(samples, channels[3 - plane], {picture.width, picture.height}, 0, 0, cv::INTER_LINEAR);
    }
    cv::Mat bgr;
    cv::merge(channels, 3, bgr);
    cv::cvtColor(bgr, bgr, cv::COLOR_YCrCb2BGR);
    return bgr;
}

}  // namespace eishost
