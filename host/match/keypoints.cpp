#include "host/match/keypoints.h"

#include <algorithm>
#include <opencv2/features2d.hpp>
#include <opencv2/imgproc.hpp>

namespace eishost {

namespace {

constexpr double kHalveAbove = 4e6;  // pixels
constexpr int kCellsX = 16;
constexpr int kCellsY = 12;
constexpr int kPerCell = 20;
constexpr double kSearchSmoothing = 1.2;
constexpr int kBlock = 5;
constexpr int kPeakDistance = 3;
constexpr int kBorder = 32;              // a descriptor needs so much around its point
constexpr float kLeastResponse = 2e-5F;  // about half a level a pixel across the weaker direction

// A position inside a grid of cells that divides the frame.
int cellOf(const cv::Point2f& point, cv::Size frame, int cellsX, int cellsY) {
    const int column = std::clamp(static_cast<int>(point.x * cellsX / frame.width), 0, cellsX - 1);
    const int row = std::clamp(static_cast<int>(point.y * cellsY / frame.height), 0, cellsY - 1);
    return row * cellsX + column;
}

std::vector<cv::KeyPoint> corners(const cv::Mat& luma) {
    cv::Mat response;
    cv::cornerMinEigenVal(luma, response, kBlock, 3);
    cv::Mat highest;
    cv::dilate(response, highest, cv::Mat::ones(2 * kPeakDistance + 1, 2 * kPeakDistance + 1, CV_8U));
    std::vector<cv::KeyPoint> found;
    for (int y = kBorder; y < luma.rows - kBorder; ++y) {
        for (int x = kBorder; x < luma.cols - kBorder; ++x) {
            const float value = response.at<float>(y, x);
            if (value > kLeastResponse && value == highest.at<float>(y, x)) {
                found.emplace_back(static_cast<float>(x), static_cast<float>(y), 31.0F, 0.0F, value, 0);
            }
        }
    }
    return found;
}

std::vector<cv::KeyPoint> strongestOfEachCell(std::vector<cv::KeyPoint> points, cv::Size frame) {
    std::stable_sort(points.begin(), points.end(),
                     [](const cv::KeyPoint& a, const cv::KeyPoint& b) { return a.response > b.response; });
    std::vector<int> taken(kCellsX * kCellsY, 0);
    std::vector<cv::KeyPoint> chosen;
    for (const cv::KeyPoint& point : points) {
        if (taken[cellOf(point.pt, frame, kCellsX, kCellsY)]++ < kPerCell) chosen.push_back(point);
    }
    return chosen;
}

}  // namespace

double Keypoints::coverage(const std::vector<cv::Point2f>& points, cv::Size frame) {
    constexpr int kX = 8;
    constexpr int kY = 6;
    constexpr int kEnough = 3;
    std::vector<int> held(kX * kY, 0);
    for (const cv::Point2f& point : points) ++held[cellOf(point, frame, kX, kY)];
    const auto covered = std::count_if(held.begin(), held.end(), [](int count) { return count >= kEnough; });
    return static_cast<double>(covered) / (kX * kY);
}

Keypoints findKeypoints(const cv::Mat& luma) {
    cv::Mat searched = luma;
    float factor = 1;
    if (static_cast<double>(luma.total()) > kHalveAbove) {
        cv::resize(luma, searched, {luma.cols / 2, luma.rows / 2}, 0, 0, cv::INTER_AREA);
        factor = 2;
    }
    Keypoints keypoints;
    if (searched.cols <= 2 * kBorder || searched.rows <= 2 * kBorder) return keypoints;
    cv::Mat smooth;
    cv::GaussianBlur(searched, smooth, {0, 0}, kSearchSmoothing);
    std::vector<cv::KeyPoint> found = strongestOfEachCell(corners(smooth), smooth.size());
    const cv::Ptr<cv::ORB> orb = cv::ORB::create(static_cast<int>(found.size()) + 1, 1.2F, 1);
    orb->compute(searched, found, keypoints.descriptors);
    for (const cv::KeyPoint& point : found) {
        // Centres of pixels, so that a position does not move when the picture is halved.
        keypoints.points.emplace_back((point.pt.x + 0.5F) * factor - 0.5F, (point.pt.y + 0.5F) * factor - 0.5F);
    }
    return keypoints;
}

}  // namespace eishost
