#include "host/motion/path_planner.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "host/motion/gaussian_path.h"
#include "host/motion/l1_path.h"
#include "host/picture/metrics.h"

namespace eishost {

namespace {

constexpr std::size_t kHeld = 3;   // frames that a difference of third order reaches back
constexpr double kOverhang = 0.1;  // of half the width
constexpr double kStillOverhang = 0.25;
constexpr PathWeights kWeights{3, 10, 10};
constexpr PathWeights kStillWeights{100, 1, 10};
constexpr double kShapeDeviation = 6;  // frames
constexpr std::size_t kShapeReach = 15;
constexpr double kReach = 2.5;    // standard deviations
constexpr double kSafety = 0.25;  // pixels that the path stays off the frame's edges

}  // namespace

PathPlanner::PathPlanner(cv::Size frame, const PathOptions& options) : frame_(frame), options_(options) {
    bounds_.aspect = static_cast<double>(frame.height) / frame.width;
    bounds_.zoom = options.zoom;
    bounds_.overhang =
        options.mirror ? (options.kind == PathKind::kStill ? kStillOverhang : kOverhang) : -2 * kSafety / frame.width;
}

void PathPlanner::beginScene() {
    motions_.clear();
    similarMotions_.clear();
    unbounded_.clear();
    shares_.clear();
    decided_.clear();
}

std::size_t PathPlanner::step(std::size_t pending) const {
    // A program of many frames costs more than it gains when each solution is used for one of them.
    return options_.kind == PathKind::kGaussian ? 1 : std::max<std::size_t>(1, pending / 3);
}

cv::Matx33d PathPlanner::plain() const {
    return Similarity{1 / options_.zoom, 0, 0, 0}.inPixels(frame_);
}

// Of the way from the plain zoom to the correction, the share at which the corners are still within the bounds.
double PathPlanner::shareInside(const cv::Matx33d& correction) const {
    const double over = bounds_.overhang * frame_.width / 2;
    const cv::Point2d least(-over, -over);
    const cv::Point2d most(frame_.width + over, frame_.height + over);
    double share = 1;
    const auto limit = [&](double from, double to, double low, double high) {
        if (to < low) share = std::min(share, (from - low) / (from - to));
        if (to > high) share = std::min(share, (high - from) / (to - from));
    };
    for (const cv::Point2d& corner : frameCorners(frame_)) {
        const cv::Point2d from = project(plain(), corner);
        const cv::Point2d to = project(correction, corner);
        limit(from.x, to.x, least.x, most.x);
        limit(from.y, to.y, least.y, most.y);
    }
    return std::max(share, 0.0);
}

cv::Matx33d PathPlanner::shapeCorrection(std::size_t at) const {
    return gaussianCorrection(motions_, at, kShapeDeviation, kShapeReach) *
           gaussianCorrection(similarMotions_, at, kShapeDeviation, kShapeReach).inv();
}

std::vector<cv::Matx33d> PathPlanner::takeOptimal(std::size_t first, std::size_t count) {
    const std::size_t begin = first - std::min(first, kHeld);
    PathWindow window;
    std::vector<cv::Matx33d> shapes;
    Similarity camera;
    for (std::size_t at = begin; at < motions_.size(); ++at) {
        if (at > begin) camera = camera * nearestSimilarity(similarMotions_[at], frame_).inverse();
        window.camera.push_back(camera);
        shapes.push_back(at < first ? cv::Matx33d::eye() : shapeCorrection(at));
        std::array<cv::Point2d, 4> slack;
        const auto corners = frameCorners(frame_);
        for (std::size_t i = 0; i < corners.size(); ++i) {
            slack[i] = (project(shapes.back(), corners[i]) - corners[i]) * (2.0 / frame_.width);
        }
        window.slack.push_back(slack);
        if (at < first) window.held.push_back(decided_[at]);
    }
    const std::vector<Similarity> path =
        l1Path(window, bounds_, options_.kind == PathKind::kStill ? kStillWeights : kWeights);
    std::vector<cv::Matx33d> corrections;
    for (std::size_t at = first; at < first + count; ++at) {
        decided_.push_back(path[at - begin]);
        corrections.push_back(shapes[at - begin] * path[at - begin].inPixels(frame_));
    }
    return corrections;
}

std::vector<cv::Matx33d> PathPlanner::takeGaussian(std::size_t first, std::size_t count) {
    const auto lookahead = static_cast<std::size_t>(options_.lookahead);
    const std::size_t reach = std::min<std::size_t>(static_cast<std::size_t>(std::ceil(kReach * options_.smooth)),
                                                    std::max<std::size_t>(1, lookahead * 3 / 4));
    // Where the frame's bounds limit a correction its neighbours give way, too, so that nothing jerks: the least share
    // of frames around, then the mean of that.
    const std::size_t soft = std::max<std::size_t>(1, (lookahead - 1 - std::min(lookahead - 1, reach)) / 2);
    const std::size_t from = first - std::min(first, 2 * soft);
    const std::size_t end = std::min(motions_.size(), first + count + 2 * soft);
    for (std::size_t at = unbounded_.size(); at < end; ++at) {
        unbounded_.push_back(gaussianCorrection(motions_, at, options_.smooth, reach) * plain());
        shares_.push_back(shareInside(unbounded_.back()));
    }
    const std::vector<double> shares(shares_.begin() + static_cast<std::ptrdiff_t>(from),
                                     shares_.begin() + static_cast<std::ptrdiff_t>(end));
    const auto around = [&](std::size_t at, auto visit) {
        for (std::size_t k = at - std::min(at, soft); k <= std::min(at + soft, shares.size() - 1); ++k) visit(k);
    };
    std::vector<double> least(shares.size(), 1);
    for (std::size_t at = 0; at < shares.size(); ++at) {
        around(at, [&](std::size_t k) { least[at] = std::min(least[at], shares[k]); });
    }
    std::vector<cv::Matx33d> corrections;
    for (std::size_t at = first; at < first + count; ++at) {
        double sum = 0;
        int frames = 0;
        around(at - from, [&](std::size_t k) {
            sum += least[k];
            ++frames;
        });
        corrections.push_back(between(plain(), unbounded_[at], sum / frames, frame_));
    }
    return corrections;
}

std::vector<cv::Matx33d> PathPlanner::take(std::span<const cv::Matx33d> pending, std::size_t count) {
    std::size_t first = decided_.size();
    motions_.resize(first);
    motions_.insert(motions_.end(), pending.begin(), pending.end());
    similarMotions_.resize(first);
    for (const cv::Matx33d& motion : pending) {
        similarMotions_.push_back(nearestSimilarity(motion, frame_).inPixels(frame_));
    }
    std::vector<cv::Matx33d> corrections =
        options_.kind == PathKind::kGaussian ? takeGaussian(first, count) : takeOptimal(first, count);
    decided_.resize(first + count);
    for (cv::Matx33d& correction : corrections) {
        const double share = shareInside(correction);
        if (share < 1) correction = between(plain(), correction, share, frame_);
    }
    // What lies further back than any mean reaches is done with.
    const std::size_t kept = std::max<std::size_t>(kShapeReach, 2 * static_cast<std::size_t>(options_.lookahead));
    if (decided_.size() > kept) {
        const std::size_t gone = decided_.size() - kept;
        const auto drop = [gone](auto& values) {
            values.erase(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(std::min(gone, values.size())));
        };
        drop(decided_);
        drop(motions_);
        drop(similarMotions_);
        drop(unbounded_);
        drop(shares_);
    }
    return corrections;
}

}  // namespace eishost
