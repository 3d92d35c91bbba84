#include "host/match/filled_area.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>

#include "host/match/homography_fit.h"
#include "host/picture/metrics.h"

namespace eishost {

namespace {

// `mirrored(edge)` tells whether the margin beyond an even `edge` is a mirror image; `none` is the edge without a
// margin, of which that cannot be told.
int chooseEdge(int first, int last, int none, int expected, const std::function<bool(int)>& mirrored) {
    int best = none;
    int found = 0;
    for (int edge = first; edge <= last; edge += 2) {
        if (!mirrored(edge)) continue;
        // A flat border mirrors everywhere: from the second find on, no margin at all is one of the answers.
        if (found == 0 || std::abs(edge - expected) < std::abs(best - expected)) best = edge;
        ++found;
    }
    return found > 1 && std::abs(none - expected) < std::abs(best - expected) ? none : best;
}

bool columnsMirrored(const cv::Mat& luma, int edge, bool left) {
    for (int row = 0; row < luma.rows; ++row) {
        const std::uint8_t* samples = luma.ptr(row);
        if (left) {
            for (int k = 1; k <= edge; ++k) {
                if (samples[edge - k] != samples[edge + k]) return false;
            }
        } else {
            for (int k = 0; edge + k < luma.cols; ++k) {
                if (samples[edge + k] != samples[edge - 1 - k]) return false;
            }
        }
    }
    return true;
}

bool rowsMirrored(const cv::Mat& luma, int edge, bool top) {
    const auto same = [&luma](int one, int other) {
        return std::equal(luma.ptr(one), luma.ptr(one) + luma.cols, luma.ptr(other));
    };
    if (top) {
        for (int k = 1; k <= edge; ++k) {
            if (!same(edge - k, edge + k)) return false;
        }
    } else {
        for (int k = 0; edge + k < luma.rows; ++k) {
            if (!same(edge + k, edge - 1 - k)) return false;
        }
    }
    return true;
}

}  // namespace

cv::Rect findFilledArea(const Picture& aligned, const cv::Rect& expected) {
    const cv::Mat luma = aligned.mat(0);
    const int width = luma.cols;
    const int height = luma.rows;
    const auto half = [](int side) { return side / 2 & ~1; };
    // More than half of each side is always filled, so a mirror image never leaves the picture.
    const int left =
        chooseEdge(2, half(width) - 2, 0, expected.x, [&](int edge) { return columnsMirrored(luma, edge, true); });
    const int right = chooseEdge(half(width) + 2, width - 2, width, expected.br().x,
                                 [&](int edge) { return columnsMirrored(luma, edge, false); });
    const int top =
        chooseEdge(2, half(height) - 2, 0, expected.y, [&](int edge) { return rowsMirrored(luma, edge, true); });
    const int bottom = chooseEdge(half(height) + 2, height - 2, height, expected.br().y,
                                  [&](int edge) { return rowsMirrored(luma, edge, false); });
    return {cv::Point(left, top), cv::Point(right, bottom)};
}

cv::Rect expectedArea(const cv::Matx33d& homography, int width, int height) {
    const cv::Matx33d inverse = homography.inv();
    std::array<double, 4> xs{};
    std::array<double, 4> ys{};
    for (int corner = 0; corner < 4; ++corner) {
        const cv::Point2d point =
            project(inverse, cv::Point2d((corner & 1) != 0 ? width - 1 : 0, (corner & 2) != 0 ? height - 1 : 0));
        xs[corner] = point.x;
        ys[corner] = point.y;
    }
    std::sort(xs.begin(), xs.end());
    std::sort(ys.begin(), ys.end());
    const auto cut = [](double value, double side) { return static_cast<int>(std::clamp(value, 0.0, side)); };
    return {cv::Point(cut(std::ceil(xs[1]), width), cut(std::ceil(ys[1]), height)),
            cv::Point(cut(xs[2] + 1, width), cut(ys[2] + 1, height))};
}

}  // namespace eishost
