// Homographies of the tool's own, in double precision: what the library fits stays inside it.
#pragma once

#include <opencv2/core.hpp>
#include <optional>
#include <vector>

namespace eishost {

// The homography that maps `ref` to `cur` with least algebraic error: the normalised direct linear transform (Hartley,
// "In defense of the eight-point algorithm", 1997), scaled to a last element of 1. Nothing for under four pairs or
// points without spread.
std::optional<cv::Matx33d> fitHomography(const std::vector<cv::Point2f>& ref, const std::vector<cv::Point2f>& cur);

// Root mean square distance, in pixels, between the projected `ref` and `cur`.
double rmsResidual(const cv::Matx33d& homography, const std::vector<cv::Point2f>& ref,
                   const std::vector<cv::Point2f>& cur);

}  // namespace eishost
