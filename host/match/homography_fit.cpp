#include "host/match/homography_fit.h"

#include <cmath>

#include "host/picture/metrics.h"

namespace eishost {

namespace {

// Moves the centroid to 0 and scales each axis to a mean absolute deviation of 1.
std::optional<cv::Matx33d> normalisation(const std::vector<cv::Point2f>& points) {
    cv::Point2d centre;
    for (const cv::Point2f& point : points) centre += cv::Point2d(point);
    centre *= 1.0 / static_cast<double>(points.size());
    cv::Point2d spread;
    for (const cv::Point2f& point : points) {
        spread += cv::Point2d(std::abs(point.x - centre.x), std::abs(point.y - centre.y));
    }
    if (spread.x < 1e-6 || spread.y < 1e-6) return std::nullopt;
    const double scaleX = static_cast<double>(points.size()) / spread.x;
    const double scaleY = static_cast<double>(points.size()) / spread.y;
    return cv::Matx33d(scaleX, 0, -centre.x * scaleX, 0, scaleY, -centre.y * scaleY, 0, 0, 1);
}

}  // namespace

std::optional<cv::Matx33d> fitHomography(const std::vector<cv::Point2f>& ref, const std::vector<cv::Point2f>& cur) {
    if (ref.size() < 4) return std::nullopt;
    const auto normalRef = normalisation(ref);
    const auto normalCur = normalisation(cur);
    if (!normalRef || !normalCur) return std::nullopt;

    cv::Matx<double, 9, 9> normalMatrix = cv::Matx<double, 9, 9>::zeros();
    for (std::size_t i = 0; i < ref.size(); ++i) {
        const cv::Point2d p = project(*normalRef, ref[i]);
        const cv::Point2d q = project(*normalCur, cur[i]);
        const cv::Matx<double, 1, 9> rowX(p.x, p.y, 1, 0, 0, 0, -q.x * p.x, -q.x * p.y, -q.x);
        const cv::Matx<double, 1, 9> rowY(0, 0, 0, p.x, p.y, 1, -q.y * p.x, -q.y * p.y, -q.y);
        normalMatrix += rowX.t() * rowX + rowY.t() * rowY;
    }
    cv::Matx<double, 9, 1> values;
    cv::Matx<double, 9, 9> vectors;
    cv::eigen(normalMatrix, values, vectors);
    const cv::Matx33d normal(vectors.row(8).val);
    const cv::Matx33d homography = normalCur->inv() * normal * *normalRef;
    if (std::abs(homography(2, 2)) < 1e-12) return std::nullopt;
    return homography * (1.0 / homography(2, 2));
}

double rmsResidual(const cv::Matx33d& homography, const std::vector<cv::Point2f>& ref,
                   const std::vector<cv::Point2f>& cur) {
    if (ref.empty()) return 0;
    double sum = 0;
    for (std::size_t i = 0; i < ref.size(); ++i) {
        const cv::Point2d error = project(homography, ref[i]) - cv::Point2d(cur[i]);
        sum += error.dot(error);
    }
    return std::sqrt(sum / static_cast<double>(ref.size()));
}

}  // namespace eishost
