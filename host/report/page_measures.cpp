#include "host/report/page_measures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <opencv2/imgproc.hpp>

namespace eishost {

namespace {

constexpr double kEdgeShare = 0.05;
constexpr double kEdgeSigma = 1.5;
constexpr int kBins = 16;
constexpr int kBinStep = 256 / kBins;
constexpr int kBlock = 8;
constexpr std::size_t kLeastBlocks = 25;
constexpr int kLeastPixels = 1000;

void gradients(const cv::Mat& luma, cv::Mat& x, cv::Mat& y) {
    cv::Sobel(luma, x, CV_32F, 1, 0);
    cv::Sobel(luma, y, CV_32F, 0, 1);
}

double centreOf(int bin) {
    return (bin + 0.5) * kBinStep;
}

std::vector<NoisePoint> againstTruth(const cv::Mat& luma, const cv::Mat& clean, const cv::Mat& counted) {
    std::array<double, kBins> squares{};
    std::array<int, kBins> pixels{};
    for (int row = 0; row < luma.rows; ++row) {
        const auto* const noisy = luma.ptr<std::uint8_t>(row);
        const auto* const true_ = clean.ptr<std::uint8_t>(row);
        const auto* const counts = counted.empty() ? nullptr : counted.ptr<std::uint8_t>(row);
        for (int column = 0; column < luma.cols; ++column) {
            if (counts != nullptr && counts[column] == 0) continue;
            const int difference = noisy[column] - true_[column];
            squares[true_[column] / kBinStep] += difference * difference;
            ++pixels[true_[column] / kBinStep];
        }
    }
    std::vector<NoisePoint> points;
    for (int bin = 0; bin < kBins; ++bin) {
        if (pixels[bin] >= kLeastPixels) points.push_back({centreOf(bin), std::sqrt(squares[bin] / pixels[bin])});
    }
    return points;
}

// Mean of a block, and the variance around its least squares plane.
std::pair<double, double> planeFit(const cv::Mat& block) {
    double sum = 0;
    double squares = 0;
    double alongX = 0;
    double alongY = 0;
    constexpr double kMiddle = (kBlock - 1) / 2.0;
    for (int y = 0; y < kBlock; ++y) {
        const auto* const row = block.ptr<std::uint8_t>(y);
        for (int x = 0; x < kBlock; ++x) {
            sum += row[x];
            squares += row[x] * row[x];
            alongX += row[x] * (x - kMiddle);
            alongY += row[x] * (y - kMiddle);
        }
    }
    constexpr double kSamples = kBlock * kBlock;
    constexpr double kSpread = kSamples * (kBlock * kBlock - 1) / 12.0;  // sum of squared distances along an axis
    const double mean = sum / kSamples;
    const double rest = squares - sum * mean - (alongX * alongX + alongY * alongY) / kSpread;
    return {mean, std::max(rest, 0.0) / (kSamples - 3)};
}

std::vector<NoisePoint> flattestBlocks(const cv::Mat& luma) {
    std::array<std::vector<double>, kBins> variances;
    for (int y = 0; y + kBlock <= luma.rows; y += kBlock) {
        for (int x = 0; x + kBlock <= luma.cols; x += kBlock) {
            const auto [mean, variance] = planeFit(luma({x, y, kBlock, kBlock}));
            variances[static_cast<int>(mean) / kBinStep].push_back(variance);
        }
    }
    std::vector<NoisePoint> points;
    for (int bin = 0; bin < kBins; ++bin) {
        std::vector<double>& all = variances[bin];
        const std::size_t flattest = all.size() / 5;
        if (flattest < kLeastBlocks) continue;
        std::nth_element(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(flattest), all.end());
        double sum = 0;
        for (std::size_t i = 0; i < flattest; ++i) sum += all[i];
        points.push_back({centreOf(bin), std::sqrt(sum / static_cast<double>(flattest))});
    }
    return points;
}

}  // namespace

EdgeMeasure::EdgeMeasure(const cv::Mat& base) {
    cv::Mat smooth;
    cv::GaussianBlur(base, smooth, {}, kEdgeSigma);
    gradients(smooth, directionX_, directionY_);
    cv::Mat size;
    cv::magnitude(directionX_, directionY_, size);
    cv::Mat sorted = size.reshape(1, 1).clone();
    const auto strongest = static_cast<std::ptrdiff_t>(static_cast<double>(sorted.cols) * (1 - kEdgeShare));
    auto* const first = sorted.ptr<float>();
    std::nth_element(first, first + strongest, first + sorted.cols);
    const cv::Mat weak = size < std::max(first[strongest], std::numeric_limits<float>::min());
    directionX_ /= size;
    directionY_ /= size;
    directionX_.setTo(0, weak);
    directionY_.setTo(0, weak);
    whole_ = alongEdges(base);
}

double EdgeMeasure::alongEdges(const cv::Mat& luma) const {
    cv::Mat x;
    cv::Mat y;
    gradients(luma, x, y);
    return directionX_.dot(x) + directionY_.dot(y);
}

double EdgeMeasure::sharpness(const cv::Mat& luma) const {
    return whole_ > 0 ? alongEdges(luma) / whole_ : std::numeric_limits<double>::quiet_NaN();
}

std::vector<NoisePoint> noiseByBrightness(const cv::Mat& luma, const cv::Mat& clean, const cv::Mat& counted) {
    return clean.empty() ? flattestBlocks(luma) : againstTruth(luma, clean, counted);
}

void to_json(nlohmann::json& json, const NoisePoint& point) {
    json = {{"brightness", point.brightness}, {"sigma", point.sigma}};
}

}  // namespace eishost
