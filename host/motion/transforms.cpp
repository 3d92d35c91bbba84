#include "host/motion/transforms.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>

#include "host/picture/metrics.h"

namespace eishost {

namespace {

// From pixels to coordinates about the middle.
cv::Matx33d centring(cv::Size frame) {
    const double unit = frame.width / 2.0;
    return {1 / unit, 0, -1, 0, 1 / unit, -frame.height / 2.0 / unit, 0, 0, 1};
}

cv::Matx33d quadrangleTo(const std::array<cv::Point2d, 4>& from, const std::array<cv::Point2d, 4>& to) {
    std::array<cv::Point2f, 4> source;
    std::array<cv::Point2f, 4> target;
    std::copy(from.begin(), from.end(), source.begin());
    std::copy(to.begin(), to.end(), target.begin());
    return cv::getPerspectiveTransform(source.data(), target.data());
}

}  // namespace

std::array<cv::Point2d, 4> frameCorners(cv::Size frame) {
    const double width = frame.width;
    const double height = frame.height;
    return {cv::Point2d(0, 0), {width, 0}, {0, height}, {width, height}};
}

cv::Point2d Similarity::apply(const cv::Point2d& point) const {
    return {a * point.x - b * point.y + dx, b * point.x + a * point.y + dy};
}

Similarity Similarity::inverse() const {
    const double scale = 1 / (a * a + b * b);
    const Similarity turned{a * scale, -b * scale, 0, 0};
    const cv::Point2d origin = turned.apply({dx, dy});
    return {turned.a, turned.b, -origin.x, -origin.y};
}

cv::Matx33d Similarity::inPixels(cv::Size frame) const {
    const cv::Matx33d toCentre = centring(frame);
    return toCentre.inv() * cv::Matx33d(a, -b, dx, b, a, dy, 0, 0, 1) * toCentre;
}

Similarity operator*(const Similarity& first, const Similarity& second) {
    const cv::Point2d origin = first.apply({second.dx, second.dy});
    return {first.a * second.a - first.b * second.b, first.b * second.a + first.a * second.b, origin.x, origin.y};
}

Similarity nearestSimilarity(const cv::Matx33d& homography, cv::Size frame) {
    const cv::Matx33d toCentre = centring(frame);
    const cv::Matx33d centred = toCentre * homography * toCentre.inv();
    Similarity nearest{0, 0, 0, 0};
    double weight = 0;
    for (const cv::Point2d& corner : frameCorners(frame)) {  // their mean is the origin, so each sum stands alone
        const cv::Point2d from = project(toCentre, corner);
        const cv::Point2d to = project(centred, from);
        nearest.a += from.dot(to);
        nearest.b += from.x * to.y - from.y * to.x;
        nearest.dx += to.x / 4;
        nearest.dy += to.y / 4;
        weight += from.dot(from);
    }
    nearest.a /= weight;
    nearest.b /= weight;
    return nearest;
}

cv::Matx33d fitSimilarity(const std::vector<cv::Point2f>& from, const std::vector<cv::Point2f>& to) {
    const double share = 1.0 / static_cast<double>(from.size());
    cv::Point2d fromMean;
    cv::Point2d toMean;
    for (std::size_t i = 0; i < from.size(); ++i) {
        fromMean += cv::Point2d(from[i]) * share;
        toMean += cv::Point2d(to[i]) * share;
    }
    double along = 0;
    double across = 0;
    double weight = 1e-12;
    for (std::size_t i = 0; i < from.size(); ++i) {
        const cv::Point2d p = cv::Point2d(from[i]) - fromMean;
        const cv::Point2d q = cv::Point2d(to[i]) - toMean;
        along += p.dot(q);
        across += p.cross(q);
        weight += p.dot(p);
    }
    const Similarity turn{along / weight, across / weight, 0, 0};
    const cv::Point2d origin = toMean - turn.apply(fromMean);
    return {turn.a, -turn.b, origin.x, turn.b, turn.a, origin.y, 0, 0, 1};
}

cv::Matx33d normalised(const cv::Matx33d& homography) {
    return homography * (1 / homography(2, 2));
}

cv::Matx33d between(const cv::Matx33d& from, const cv::Matx33d& to, double share, cv::Size frame) {
    const auto corners = frameCorners(frame);
    std::array<cv::Point2d, 4> targets;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        targets[i] = project(from, corners[i]) * (1 - share) + project(to, corners[i]) * share;
    }
    return quadrangleTo(corners, targets);
}

double shareOutside(const cv::Matx33d& homography, cv::Size frame) {
    // The frame's outline in coordinates of the result, and what it has in common with the result's own.
    const cv::Matx33d inverse = homography.inv();
    const cv::Rect2d area(0, 0, frame.width, frame.height);
    std::vector<cv::Point2f> outline;
    std::vector<cv::Point2f> own;
    for (const int i : {0, 1, 3, 2}) {  // around
        const cv::Point2d corner = frameCorners(frame)[i];
        outline.emplace_back(project(inverse, corner));
        own.emplace_back(corner);
    }
    const bool inside = std::all_of(own.begin(), own.end(), [&](const cv::Point2f& corner) {
        const cv::Point2d at = project(homography, corner);
        return at.x >= 0 && at.y >= 0 && at.x <= area.width && at.y <= area.height;
    });
    if (inside) return 0;
    std::vector<cv::Point2f> common;
    return 1 - cv::intersectConvexConvex(outline, own, common) / area.area();
}

}  // namespace eishost
