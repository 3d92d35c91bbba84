#include "host/match/matching.h"

#include <cmath>
#include <opencv2/features2d.hpp>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "host/program/bands.h"

namespace eishost {

namespace {

constexpr double kSmoothing = 1.5;
constexpr int kRadius = 12;
constexpr int kRounds = 10;
constexpr double kSettled = 1e-4;     // squared pixels
constexpr double kFarthest = 4;       // pixels that a position may move
constexpr double kLeastShape = 1e-3;  // of the structure matrix: det / trace^2, 0 on an edge
constexpr float kRatio = 0.9F;        // squared by the library

// The position near `near` in `cur` that looks like `at` in `ref`, if there is one. Brightness may differ by a
// constant.
bool refine(const cv::Mat& ref, const cv::Mat& cur, const cv::Point2f& at, cv::Point2f& near) {
    constexpr int kSide = 2 * kRadius + 1;
    cv::Mat around;
    cv::getRectSubPix(ref, {kSide + 2, kSide + 2}, at, around, CV_32F);
    const cv::Mat pattern = around(cv::Rect(1, 1, kSide, kSide));
    const cv::Mat slopeX = (around(cv::Rect(2, 1, kSide, kSide)) - around(cv::Rect(0, 1, kSide, kSide))) * 0.5;
    const cv::Mat slopeY = (around(cv::Rect(1, 2, kSide, kSide)) - around(cv::Rect(1, 0, kSide, kSide))) * 0.5;
    const double xx = slopeX.dot(slopeX);
    const double xy = slopeX.dot(slopeY);
    const double yy = slopeY.dot(slopeY);
    const double determinant = xx * yy - xy * xy;
    if (determinant <= kLeastShape * (xx + yy) * (xx + yy)) return false;

    const cv::Point2f start = near;
    for (int round = 0; round < kRounds; ++round) {
        cv::Mat seen;
        cv::getRectSubPix(cur, {kSide, kSide}, near, seen, CV_32F);
        cv::Mat difference = seen - pattern;
        difference -= cv::mean(difference)[0];
        const double x = slopeX.dot(difference);
        const double y = slopeY.dot(difference);
        const cv::Point2d step((yy * x - xy * y) / determinant, (xx * y - xy * x) / determinant);
        near -= cv::Point2f(step);
        if (cv::norm(near - start) > kFarthest) return false;
        if (step.dot(step) < kSettled) return true;
    }
    return false;
}

void addKeypoint(std::vector<std::int32_t>& table, const cv::Point2f& point) {
    const KeypointRow row = keypointRow(point);
    table.insert(table.end(), row.begin(), row.end());
}

}  // namespace

MatchableFrame::MatchableFrame(const cv::Mat& luma) : keypoints(findKeypoints(luma)) {
    cv::GaussianBlur(luma, smooth, {0, 0}, kSmoothing);
}

MatchTables matchFrames(const MatchableFrame& ref, const MatchableFrame& cur) {
    MatchTables tables;
    tables.ratio = kRatio;
    for (const cv::Point2f& point : ref.keypoints.points) addKeypoint(tables.refKeypoints, point);
    for (const cv::Point2f& point : cur.keypoints.points) addKeypoint(tables.curKeypoints, point);
    if (ref.keypoints.points.empty() || cur.keypoints.points.empty()) return tables;

    std::vector<std::vector<cv::DMatch>> candidates;
    cv::BFMatcher(cv::NORM_HAMMING).knnMatch(ref.keypoints.descriptors, cur.keypoints.descriptors, candidates, 2);
    std::vector<cv::Point2f> refined(candidates.size());
    std::vector<char> settled(candidates.size(), 0);
    forBands(static_cast<int>(candidates.size()), [&](int first, int end) {
        for (int i = first; i < end; ++i) {
            refined[i] = cur.keypoints.points[candidates[i][0].trainIdx];
            settled[i] = refine(ref.smooth, cur.smooth, ref.keypoints.points[i], refined[i]) ? 1 : 0;
        }
    });

    const auto addEntry = [&tables](int refRow, int curRow, float distance) {
        tables.refIndex.push_back(static_cast<std::int16_t>(refRow));
        tables.curIndex.push_back(static_cast<std::int16_t>(curRow));
        tables.distance.push_back(static_cast<std::int32_t>(distance));
    };
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        if (settled[i] == 0) continue;
        const int row = static_cast<int>(tables.curKeypoints.size() / 3);
        addKeypoint(tables.curKeypoints, refined[i]);
        addEntry(candidates[i][0].queryIdx, row, candidates[i][0].distance);
        if (candidates[i].size() > 1) {
            addEntry(candidates[i][1].queryIdx, candidates[i][1].trainIdx, candidates[i][1].distance);
        }
    }
    return tables;
}

}  // namespace eishost
