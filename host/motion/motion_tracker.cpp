#include "host/motion/motion_tracker.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <opencv2/video/tracking.hpp>
#include <utility>

#include "host/match/homography_fit.h"
#include "host/motion/transforms.h"
#include "host/picture/metrics.h"

namespace eishost {

namespace {

constexpr int kMostPoints = 220;
constexpr int kFewestPoints = 150;      // then new ones are looked for
constexpr int kOldestPoints = 12;       // frames; they wander off the picture's parts that were in view first
constexpr double kPointQuality = 0.01;  // of the strongest corner
constexpr double kPointDistance = 14;   // pixels of the reduced frame
constexpr int kPointWindow = 5;
const cv::Size kWindow(15, 15);
constexpr int kLevels = 3;
constexpr int kRounds = 10;
constexpr double kSettled = 0.02;
constexpr int kReducedWidth = 640;

constexpr double kTolerance = 1;  // pixels of the reduced frame that points of one motion may be off
constexpr std::size_t kFewestAgree = 12;
constexpr double kLeastAgree = 0.3;  // of all points that were followed
constexpr double kOutlier = 2.5;     // times the residual
constexpr double kFarthest = 0.25;   // of the width: a motion beyond is none
constexpr int kLongestGap = 15;      // frames
constexpr double kUsualShare = 0.2;

const cv::Size kThumbnail(64, 36);
constexpr double kBlank = 2;        // standard deviation of the thumbnail's samples
constexpr double kSameScene = 0.6;  // correlation of the thumbnails

cv::Matx33d scaled(const cv::Matx33d& homography, double factor) {
    return cv::Matx33d(factor, 0, 0, 0, factor, 0, 0, 0, 1) * homography *
           cv::Matx33d(1 / factor, 0, 0, 0, 1 / factor, 0, 0, 0, 1);
}

cv::Mat thumbnailOf(const cv::Mat& reduced) {
    cv::Mat small;
    cv::resize(reduced, small, kThumbnail, 0, 0, cv::INTER_AREA);
    small.convertTo(small, CV_32F);
    cv::Scalar mean;
    cv::Scalar deviation;
    cv::meanStdDev(small, mean, deviation);
    if (deviation[0] < kBlank) return cv::Mat::zeros(kThumbnail, CV_32F);
    return (small - mean[0]) / deviation[0];
}

double correlation(const cv::Mat& a, const cv::Mat& b) {
    return a.dot(b) / kThumbnail.area();
}

// A least squares fit, and once more without the pairs that it leaves far off.
std::optional<cv::Matx33d> robustFit(const PointPairs& pairs) {
    const auto first = fitHomography(pairs.ref, pairs.cur);
    if (!first) return std::nullopt;
    const double limit = kOutlier * rmsResidual(*first, pairs.ref, pairs.cur);
    PointPairs near;
    for (std::size_t i = 0; i < pairs.ref.size(); ++i) {
        if (cv::norm(project(*first, pairs.ref[i]) - cv::Point2d(pairs.cur[i])) > limit) continue;
        near.ref.push_back(pairs.ref[i]);
        near.cur.push_back(pairs.cur[i]);
    }
    if (near.ref.size() < kFewestAgree) return first;
    const auto second = fitHomography(near.ref, near.cur);
    return second ? second : first;
}

}  // namespace

MotionTracker::MotionTracker(DspArena& arena, cv::Size frame, const TrackerOptions& options)
    : filter_(arena, kMostPoints),
      frame_(frame),
      options_(options),
      reduction_(std::max(frame.width < kReducedWidth ? 1 : 2, (frame.width + kReducedWidth / 2) / kReducedWidth)) {}

MotionTracker::View MotionTracker::prepare(const cv::Mat& luma) const {
    cv::Mat reduced;
    cv::resize(luma, reduced, {luma.cols / reduction_, luma.rows / reduction_}, 0, 0, cv::INTER_AREA);
    View view;
    view.thumbnail = thumbnailOf(reduced);
    cv::buildOpticalFlowPyramid(reduced, view.pyramid, kWindow, kLevels);
    return view;
}

void MotionTracker::findPoints(View& view) const {
    view.pointsAge = 0;
    view.points.clear();
    if (cv::countNonZero(view.thumbnail) == 0) return;
    cv::goodFeaturesToTrack(view.pyramid[0], view.points, kMostPoints, kPointQuality, kPointDistance, {}, kPointWindow);
}

std::optional<MotionTracker::Estimate> MotionTracker::estimate(const View& from, const View& to,
                                                               const cv::Matx33d& expected) {
    if (from.points.size() < kFewestAgree) return std::nullopt;
    std::vector<cv::Point2f> moved;
    const cv::Matx33d reducedExpected = scaled(expected, 1.0 / reduction_);
    for (const cv::Point2f& point : from.points) moved.emplace_back(project(reducedExpected, point));
    std::vector<std::uint8_t> found;
    cv::calcOpticalFlowPyrLK(from.pyramid, to.pyramid, from.points, moved, found, cv::noArray(), kWindow, kLevels,
                             {cv::TermCriteria::COUNT + cv::TermCriteria::EPS, kRounds, kSettled},
                             cv::OPTFLOW_USE_INITIAL_FLOW);
    PointPairs pairs;
    const cv::Rect2f inside({0, 0}, cv::Size2f(to.thumbnail.empty() ? cv::Size() : to.pyramid[0].size()));
    for (std::size_t i = 0; i < moved.size(); ++i) {
        if (found[i] == 0 || !inside.contains(moved[i])) continue;
        pairs.ref.push_back(from.points[i]);
        pairs.cur.push_back(moved[i]);
    }
    const PointPairs agreeing = filter_.agreeing(pairs, kTolerance, options_.log);
    if (agreeing.ref.size() < kFewestAgree ||
        static_cast<double>(agreeing.ref.size()) < kLeastAgree * static_cast<double>(from.points.size())) {
        return std::nullopt;
    }
    const auto reducedHomography = robustFit(agreeing);
    if (!reducedHomography) return std::nullopt;
    // Samples of the reduced frame are means, whose middles lie between those of the frame.
    const double shift = (reduction_ - 1) / 2.0;
    const cv::Matx33d toFull(reduction_, 0, shift, 0, reduction_, shift, 0, 0, 1);
    const cv::Matx33d homography = normalised(toFull * *reducedHomography * toFull.inv());
    for (const cv::Point2d& corner : frameCorners(frame_)) {
        const cv::Point2d moved2 = project(homography, corner) - project(expected, corner);
        if (!(cv::norm(moved2) < kFarthest * frame_.width)) return std::nullopt;
    }
    return Estimate{homography, agreeing.cur};
}

void MotionTracker::restart(View view) {
    findPoints(view);
    beforeGap_.reset();
    gap_ = 0;
    usual_ = cv::Matx33d::eye();
    if (options_.toReference) reference_ = view;
    fromReference_ = cv::Matx33d::eye();
    last_ = std::move(view);
}

// From the frame before those that could not be measured: a flash or a blank frame hides the scene, and it returns.
std::optional<MotionTracker::Estimate> MotionTracker::acrossGap(const View& view) {
    if (!beforeGap_) return std::nullopt;
    std::optional<Estimate> across = estimate(*beforeGap_, view, sinceGap_ * usual_);
    if (across) across->homography = normalised(across->homography * sinceGap_.inv());
    return across;
}

// The sum of many small motions wanders; a look at the first frame does not.
void MotionTracker::refineByReference(const View& view, FrameMotion& motion) {
    if (!reference_) return;
    const cv::Matx33d expected = normalised(motion.fromPrevious * fromReference_);
    const std::optional<Estimate> seen = estimate(*reference_, view, expected);
    const cv::Matx33d now = seen ? seen->homography : expected;
    motion.fromPrevious = normalised(now * fromReference_.inv());
    fromReference_ = now;
}

FrameMotion MotionTracker::next(const cv::Mat& luma) {
    View view = prepare(luma);
    if (!last_) {
        restart(std::move(view));
        return {};
    }
    FrameMotion motion;
    std::optional<Estimate> measured = estimate(*last_, view, cv::Matx33d::eye());
    if (!measured) measured = acrossGap(view);
    if (measured) {
        motion.fromPrevious = measured->homography;
        view.points = std::move(measured->points);
        view.pointsAge = last_->pointsAge + 1;
        if (view.points.size() < kFewestPoints || view.pointsAge >= kOldestPoints) findPoints(view);
        usual_ = normalised(usual_ * (1 - kUsualShare) + motion.fromPrevious * kUsualShare);
        beforeGap_.reset();
        gap_ = 0;
        refineByReference(view, motion);
        last_ = std::move(view);
        return motion;
    }
    const View& before = beforeGap_ ? *beforeGap_ : *last_;
    findPoints(view);
    if (view.points.size() >= kFewestAgree && correlation(before.thumbnail, view.thumbnail) < kSameScene) {
        restart(std::move(view));
        motion.cut = true;
        return motion;
    }
    if (!beforeGap_) {
        beforeGap_ = std::move(last_);
        sinceGap_ = cv::Matx33d::eye();
    }
    motion.reliable = false;
    motion.fromPrevious = usual_;
    sinceGap_ = normalised(usual_ * sinceGap_);
    fromReference_ = normalised(usual_ * fromReference_);
    last_ = std::move(view);
    if (++gap_ > kLongestGap) beforeGap_.reset();
    return motion;
}

}  // namespace eishost
