#include "host/merge/places.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>

namespace eishost {

namespace {

constexpr double kSmoothing = 0.8;
constexpr int kSurroundings = 5;
constexpr double kSobelGain = 8;
constexpr int kSampledRows = 256;  // of quads, in a picture that has more

}  // namespace

PlaceMap::PlaceMap(const cv::Mat& luma) {
    cv::Mat quads;
    cv::resize(luma, quads, {luma.cols / 2, luma.rows / 2}, 0, 0, cv::INTER_AREA);
    cv::blur(quads, brightness, {kSurroundings, kSurroundings});
    cv::Mat smooth;
    cv::GaussianBlur(quads, smooth, {0, 0}, kSmoothing);
    cv::Mat across;
    cv::Mat down;
    cv::Sobel(smooth, across, CV_16S, 1, 0);
    cv::Sobel(smooth, down, CV_16S, 0, 1);
    across = cv::abs(across);
    down = cv::abs(down);
    cv::add(across, down, across);
    cv::blur(across, across, {kSurroundings, kSurroundings});
    across.convertTo(activity, CV_8U, kActivityUnits / kSobelGain);
}

int sampledStep(int rows) {
    return std::max(1, rows / kSampledRows);
}

}  // namespace eishost
