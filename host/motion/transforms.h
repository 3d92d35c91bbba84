// Transforms of frames: homographies in pixels, and similarities in coordinates about the frame's middle.
#pragma once

#include <array>
#include <opencv2/core.hpp>
#include <vector>

namespace eishost {

// The corners of a frame's area: (0, 0), (width, 0), (0, height), (width, height).
std::array<cv::Point2d, 4> frameCorners(cv::Size frame);

// Turns, scales and moves: (x, y) goes to (a x - b y + dx, b x + a y + dy). The unit is half the frame's width, and the
// middle of the frame is (0, 0).
struct Similarity {
    double a = 1;
    double b = 0;
    double dx = 0;
    double dy = 0;

    cv::Point2d apply(const cv::Point2d& point) const;
    Similarity inverse() const;
    cv::Matx33d inPixels(cv::Size frame) const;
};

// First `second`, then `first`, as the product of matrices.
Similarity operator*(const Similarity& first, const Similarity& second);

// The one that is nearest to a homography of pixels at the corners of the frame, by least squares.
Similarity nearestSimilarity(const cv::Matx33d& homography, cv::Size frame);

// The similarity, in pixels, that maps `from` to `to` with least squared distance.
cv::Matx33d fitSimilarity(const std::vector<cv::Point2f>& from, const std::vector<cv::Point2f>& to);

// Scaled to a last element of 1.
cv::Matx33d normalised(const cv::Matx33d& homography);

// From `from`, at share 0, to `to`, at 1, along straight lines of the corners' positions.
cv::Matx33d between(const cv::Matx33d& from, const cv::Matx33d& to, double share, cv::Size frame);

// The part of the frame's area, 0 to 1, that a homography leads outside of the frame.
double shareOutside(const cv::Matx33d& homography, cv::Size frame);

}  // namespace eishost
