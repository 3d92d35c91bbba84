#include "host/motion/motion_tracker.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <opencv2/imgproc.hpp>
#include <opencv2/video/tracking.hpp>
#include <utility>

#include "host/match/homography_fit.h"
#include "host/motion/transforms.h"
#include "host/picture/metrics.h"

namespace eishost {

namespace {

constexpr int kMostCandidates = 1000;
constexpr int kColumns = 8;  // of cells that the frame is divided into
constexpr int kRows = 5;
constexpr int kCells = kColumns * kRows;
constexpr int kMostInCell = 7;
constexpr int kMostPoints = kCells * kMostInCell;
constexpr int kFewestPoints = 160;      // then new ones are looked for
constexpr int kSearchEach = 8;          // frames; points wander off with what was in view first
constexpr double kPointQuality = 0.01;  // of the strongest corner
constexpr double kPointDistance = 14;   // pixels of the reduced frame
constexpr int kPointWindow = 3;
constexpr int kLeastSearched = 400;  // pixels of width
const cv::Size kWindow(15, 15);
constexpr int kLevels = 3;
constexpr int kRounds = 10;
constexpr double kSettled = 0.02;
constexpr int kReducedWidth = 640;

// Pixels of the reduced frame that points of one motion may be off. Tracking is good to a tenth; what is less exact
// gets the second one, as where the camera moves through a scene of much depth.
constexpr double kTolerances[] = {0.4, 1.5};
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

int cellOf(const cv::Point2f& point, cv::Size reduced) {
    const int column = static_cast<int>(point.x) * kColumns / reduced.width;
    const int row = static_cast<int>(point.y) * kRows / reduced.height;
    return row * kColumns + column;
}

bool isAtEdge(int cell) {
    const int column = cell % kColumns;
    const int row = cell / kColumns;
    return column == 0 || column == kColumns - 1 || row == 0 || row == kRows - 1;
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

// The similarity, where the homography follows the pairs no better than four more parameters follow their noise (the
// Bayesian information criterion, Schwarz 1978): fewer parameters carry less of it into the motion.
cv::Matx33d simplest(const cv::Matx33d& homography, const PointPairs& pairs) {
    const cv::Matx33d similarity = fitSimilarity(pairs.ref, pairs.cur);
    const double count = 2.0 * static_cast<double>(pairs.ref.size());
    const double gain = count *
                        std::log(rmsResidual(similarity, pairs.ref, pairs.cur) /
                                 std::max(1e-9, rmsResidual(homography, pairs.ref, pairs.cur))) *
                        2;
    return gain > 4 * std::log(count) ? homography : similarity;
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
    return simplest(second ? *second : *first, near);
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
    // Derivatives, which could stand in the pyramid, cost four times as much here as where they are used.
    cv::buildOpticalFlowPyramid(reduced, view.pyramid, kWindow, kLevels, false);
    return view;
}

// Adds to the points of a view the strongest corners of each cell that has few of them: one object of strong contrast
// must not outvote the scene.
void MotionTracker::findPoints(View& view) const {
    view.sinceSearch = 0;
    if (cv::countNonZero(view.thumbnail) == 0) return;
    const cv::Size size = view.pyramid[0].size();
    // A corner's place need not be exact, so half the size again does.
    const int level = size.width >= kLeastSearched ? 1 : 0;
    const int step = 1 << level;
    std::vector<cv::Point2f> strongest;
    cv::goodFeaturesToTrack(view.pyramid[level], strongest, kMostCandidates, kPointQuality, kPointDistance / step, {},
                            kPointWindow);
    for (cv::Point2f& point : strongest) point *= step;
    std::array<int, kCells> taken{};
    for (const cv::Point2f& point : view.points) ++taken.at(cellOf(point, size));
    const std::vector<cv::Point2f> older = view.points;
    for (const cv::Point2f& point : strongest) {
        const bool isNew = std::none_of(older.begin(), older.end(), [&](const cv::Point2f& other) {
            const cv::Point2f apart = point - other;
            return apart.dot(apart) < kPointDistance * kPointDistance;
        });
        if (!isNew || taken.at(cellOf(point, size)) >= kMostInCell) continue;
        ++taken.at(cellOf(point, size));
        view.points.push_back(point);
        view.ages.push_back(0);
    }
}

MotionTracker::Followed MotionTracker::Followed::those(const std::vector<int>& numbers) const {
    Followed some;
    for (const int number : numbers) {
        some.pairs.ref.push_back(pairs.ref[number]);
        some.pairs.cur.push_back(pairs.cur[number]);
        some.ages.push_back(ages[number]);
    }
    return some;
}

MotionTracker::Followed MotionTracker::follow(const View& from, const View& to, const cv::Matx33d& expected) const {
    std::vector<cv::Point2f> moved;
    const cv::Matx33d reducedExpected = scaled(expected, 1.0 / reduction_);
    for (const cv::Point2f& point : from.points) moved.emplace_back(project(reducedExpected, point));
    std::vector<std::uint8_t> found;
    cv::calcOpticalFlowPyrLK(from.pyramid, to.pyramid, from.points, moved, found, cv::noArray(), kWindow, kLevels,
                             {cv::TermCriteria::COUNT + cv::TermCriteria::EPS, kRounds, kSettled},
                             cv::OPTFLOW_USE_INITIAL_FLOW);
    Followed followed;
    const cv::Rect2f inside({0, 0}, cv::Size2f(to.pyramid[0].size()));
    for (std::size_t i = 0; i < moved.size(); ++i) {
        if (found[i] == 0 || !inside.contains(moved[i])) continue;
        followed.pairs.ref.push_back(from.points[i]);
        followed.pairs.cur.push_back(moved[i]);
        followed.ages.push_back(from.ages[i]);
    }
    return followed;
}

// The points that move with the scene. Where a second motion has many points, too, that of a large object, the scene's
// is the one that is seen in more cells, at the frame's edges above all, and by points that agreed before.
MotionTracker::Followed MotionTracker::ofTheScene(const Followed& points, cv::Size reduced, double tolerance) {
    const std::vector<int> first = filter_.agreeing(points.pairs, tolerance, options_.log);
    std::vector<int> rest;
    for (int i = 0; i < static_cast<int>(points.ages.size()); ++i) {
        if (!std::binary_search(first.begin(), first.end(), i)) rest.push_back(i);
    }
    Followed most = points.those(first);
    if (rest.size() < kFewestAgree || rest.size() < kLeastAgree * static_cast<double>(points.ages.size())) return most;
    const Followed others = points.those(rest);
    const Followed second = others.those(filter_.agreeing(others.pairs, tolerance, options_.log));
    if (second.ages.size() < kFewestAgree) return most;
    const auto weight = [&](const Followed& group) {
        std::array<int, kCells> cells{};
        for (std::size_t i = 0; i < group.ages.size(); ++i) {
            const int cell = cellOf(group.pairs.cur[i], reduced);
            cells.at(cell) = std::max(cells.at(cell), (isAtEdge(cell) ? 2 : 1) + (group.ages[i] > 1 ? 2 : 0));
        }
        return std::accumulate(cells.begin(), cells.end(), 0);
    };
    return weight(second) > weight(most) ? second : most;
}

std::optional<MotionTracker::Estimate> MotionTracker::estimate(const View& from, const View& to,
                                                               const cv::Matx33d& expected) {
    if (from.points.size() < kFewestAgree) return std::nullopt;
    const Followed followed = follow(from, to, expected);
    const auto fewest = static_cast<std::size_t>(kLeastAgree * static_cast<double>(from.points.size()));
    Followed scene;
    for (const double tolerance : kTolerances) {
        scene = ofTheScene(followed, to.pyramid[0].size(), tolerance);
        if (scene.ages.size() >= std::max(kFewestAgree, fewest)) break;
    }
    if (scene.ages.size() < std::max(kFewestAgree, fewest)) return std::nullopt;
    const auto reducedHomography = robustFit(scene.pairs);
    if (!reducedHomography) return std::nullopt;
    // Samples of the reduced frame are means, whose middles lie between those of the frame.
    const double shift = (reduction_ - 1) / 2.0;
    const cv::Matx33d toFull(reduction_, 0, shift, 0, reduction_, shift, 0, 0, 1);
    const cv::Matx33d homography = normalised(toFull * *reducedHomography * toFull.inv());
    for (const cv::Point2d& corner : frameCorners(frame_)) {
        const cv::Point2d farther = project(homography, corner) - project(expected, corner);
        if (!(cv::norm(farther) < kFarthest * frame_.width)) return std::nullopt;
    }
    return Estimate{homography, scene};
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
        view.points = std::move(measured->points.pairs.cur);
        view.ages = std::move(measured->points.ages);
        for (int& age : view.ages) ++age;
        view.sinceSearch = last_->sinceSearch + 1;
        if (view.points.size() < kFewestPoints || view.sinceSearch >= kSearchEach) findPoints(view);
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
