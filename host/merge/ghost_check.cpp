#include "host/merge/ghost_check.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "host/merge/accumulate.h"
#include "host/program/bands.h"

namespace eishost {

namespace {

// A sum of squares over the planes, each in units of its median.
constexpr int kGhostBox = 5;
constexpr float kGhostFrom = 25;
constexpr float kGhostCertain = 45;
constexpr float kGhostMost = 1000;

// The smoothed difference of the reference and the filtered mean, squared, in units of the noise, by quads.
cv::Mat smoothedDifference(const cv::Mat& reference, const cv::Mat& mean, const QuadKinds& kinds,
                           const PlaneModel& model) {
    const int part = reference.cols / kinds.classes.cols;
    cv::Mat difference(kinds.classes.size(), CV_32F);
    std::array<float, PlaceMap::kLevels> scale{};
    for (int level = 0; level < PlaceMap::kLevels; ++level) {
        scale[level] = static_cast<float>(1 / (part * part * Accumulator::kMeanUnits * std::sqrt(model.noise[level])));
    }
    forBands(difference.rows, [&](int first, int end) {
        std::vector<int> sums(mean.cols);
        for (int row = first; row < end; ++row) {
            std::fill(sums.begin(), sums.end(), 0);
            for (int line = part * row; line < part * (row + 1); ++line) {
                const std::uint8_t* const one = reference.ptr(line);
                const auto* const other = mean.ptr<std::uint16_t>(line);
                for (int x = 0; x < mean.cols; ++x) sums[x] += one[x] * Accumulator::kMeanUnits - other[x];
            }
            auto* const out = difference.ptr<float>(row);
            for (int q = 0; q < difference.cols; ++q) {
                const int sum = part == 2 ? sums[2 * q] + sums[2 * q + 1] : sums[q];
                out[q] = static_cast<float>(sum) * scale[kinds.places.level(row, q)];
            }
        }
    });
    cv::blur(difference, difference, {kGhostBox, kGhostBox});
    cv::multiply(difference, difference, difference);
    return difference;
}

// The median of the settled quads of each class of activity.
std::array<float, kActivityClasses> medians(const cv::Mat& values, const QuadKinds& kinds) {
    std::array<std::vector<float>, kActivityClasses> lists;
    const int step = sampledStep(values.rows);
    for (int row = 0; row < values.rows; row += step) {
        for (int q = 0; q < values.cols; ++q) {
            if (kinds.settled.ptr(row)[q] != 0) lists[kinds.classes.ptr(row)[q]].push_back(values.ptr<float>(row)[q]);
        }
    }
    std::array<float, kActivityClasses> out{};
    for (int one = 0; one < kActivityClasses; ++one) {
        std::vector<float>& list = lists[one];
        out[one] = 1;
        if (list.empty()) continue;
        std::nth_element(list.begin(), list.begin() + list.size() / 2, list.end());
        out[one] = std::max(list[list.size() / 2], 1e-6F);
    }
    return out;
}

}  // namespace

cv::Mat ghostMap(const Picture& reference, const std::array<cv::Mat, 3>& means, const QuadKinds& kinds,
                 const std::array<PlaneModel, 3>& models) {
    cv::Mat sum = cv::Mat::zeros(kinds.classes.size(), CV_32F);
    for (int plane = 0; plane < 3; ++plane) {
        const cv::Mat squares = smoothedDifference(reference.mat(plane), means[plane], kinds, models[plane]);
        const std::array<float, kActivityClasses> usual = medians(squares, kinds);
        for (int row = 0; row < sum.rows; ++row) {
            auto* const to = sum.ptr<float>(row);
            const auto* const square = squares.ptr<float>(row);
            const std::uint8_t* const classes = kinds.classes.ptr(row);
            for (int q = 0; q < sum.cols; ++q) to[q] += std::min(square[q] / usual[classes[q]], kGhostMost);
        }
    }
    cv::blur(sum, sum, {3, 3});
    for (int row = 0; row < sum.rows; ++row) {
        auto* const values = sum.ptr<float>(row);
        for (int q = 0; q < sum.cols; ++q) {
            values[q] = std::clamp((values[q] - kGhostFrom) / (kGhostCertain - kGhostFrom), 0.0F, 1.0F);
        }
    }
    return sum;
}

}  // namespace eishost
