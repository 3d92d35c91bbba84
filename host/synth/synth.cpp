#include "host/synth/synth.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "host/program/exit_codes.h"
#include "host/synth/resampling.h"
#include "host/synth/synth_mover.h"
#include "host/synth/synth_seed.h"

namespace eishost {

namespace {

constexpr double kDegree = CV_PI / 180;
constexpr int kSmallestSide = 64;

// Streams of random numbers besides those of the frames' noise.
enum Stream : std::uint64_t { kMotionStream, kMoverStream, kFirstNoiseStream };

cv::Matx33d translation(double x, double y) {
    return {1, 0, x, 0, 1, y, 0, 0, 1};
}

// The farthest that any pixel of a frame of this size can move, rounded up.
int marginFor(const SynthOptions& options, cv::Size2d size) {
    const double reach = std::hypot(size.width, size.height) / 2;
    const double shift =
        options.exactShift ? std::max(std::abs(options.exactShift->x), std::abs(options.exactShift->y)) : options.shift;
    const double turn = std::sin(options.rotation * kDegree) * reach;
    // Both axes' perspective add up in a corner; the last factor covers the products of the small terms.
    const double depth = 2 * options.perspective * (reach + shift + turn);
    return static_cast<int>(std::ceil((shift + turn + depth) * 1.02)) + kKernelReach;
}

std::optional<cv::Point> wholePixelShift(const cv::Matx33d& homography) {
    const cv::Point shift(cvRound(homography(0, 2)), cvRound(homography(1, 2)));
    if (homography != translation(shift.x, shift.y)) return std::nullopt;
    return shift;
}

}  // namespace

BurstSynthesiser::BurstSynthesiser(const cv::Mat& photo, const SynthOptions& options) : options_(options) {
    layOut(photo);
    drawMotion();
}

void BurstSynthesiser::layOut(const cv::Mat& photo) {
    photo_ = photo;
    if (options_.size) {
        const cv::Size2d wanted(options_.size->width, options_.size->height);
        const int margin = marginFor(options_, wanted);
        const double scale =
            std::max((wanted.width + 2 * margin) / photo.cols, (wanted.height + 2 * margin) / photo.rows);
        if (scale > 1)
            throw HostError(kExitUnsuitable, "the photograph is too small for frames of that size and motion");
        const cv::Size smaller(static_cast<int>(std::ceil(photo.cols * scale)),
                               static_cast<int>(std::ceil(photo.rows * scale)));
        cv::resize(photo, photo_, smaller, 0, 0, cv::INTER_AREA);
        frameSize_ = cv::Size(options_.size->width, options_.size->height);
    } else {
        const int margin = marginFor(options_, photo.size());
        frameSize_ = {photo.cols - 2 * margin, photo.rows - 2 * margin};
    }
    frameSize_ = {frameSize_.width & ~1, frameSize_.height & ~7};
    if (frameSize_.width < kSmallestSide || frameSize_.height < kSmallestSide)
        throw HostError(kExitUnsuitable, "frames would be under " + std::to_string(kSmallestSide) +
                                             " pixels: the photograph or the size is too small for the motion");
    if (photo_.cols > kLargestSide || photo_.rows > kLargestSide)
        throw HostError(kExitUnsuitable,
                        "the photograph is too large: sides must be up to " + std::to_string(kLargestSide));
    origin_ = cv::Point((photo_.cols - frameSize_.width) / 2, (photo_.rows - frameSize_.height) / 2);
}

void BurstSynthesiser::drawMotion() {
    const double halfWidth = frameSize_.width / 2.0;
    const double halfHeight = frameSize_.height / 2.0;
    cv::RNG random(mixSeed(options_.seed, kMotionStream));
    for (int index = 0; index < options_.frames; ++index) {
        // The draws are taken in any case: a burst of more frames or another kind begins like this one.
        const double angle = random.uniform(-1.0, 1.0) * options_.rotation * kDegree;
        const double length = std::sqrt(random.uniform(0.0, 1.0)) * options_.shift;
        const double direction = random.uniform(0.0, 2 * CV_PI);
        const double depthX = random.uniform(-1.0, 1.0) * options_.perspective / halfWidth;
        const double depthY = random.uniform(-1.0, 1.0) * options_.perspective / halfHeight;
        const cv::Point2d shift = options_.exactShift ? cv::Point2d(*options_.exactShift)
                                                      : length * cv::Point2d(std::cos(direction), std::sin(direction));
        if (index == 0) {
            homographies_.push_back(cv::Matx33d::eye());
            continue;
        }
        const cv::Matx33d aboutCentre(std::cos(angle), -std::sin(angle), shift.x,  //
                                      std::sin(angle), std::cos(angle), shift.y,   //
                                      depthX, depthY, 1);
        const cv::Matx33d full =
            translation(halfWidth, halfHeight) * aboutCentre * translation(-halfWidth, -halfHeight);
        homographies_.push_back(full * (1 / full(2, 2)));
    }

    if (!options_.mover) return;
    cv::RNG moverRandom(mixSeed(options_.seed, kMoverStream));
    const double side = std::min(frameSize_.width, frameSize_.height);
    moverSize_ = options_.moverSize ? cv::Size(*options_.moverSize, *options_.moverSize)
                                    : cv::Size(cvRound(side / 6), cvRound(side / 8));
    if (std::max(moverSize_.width, moverSize_.height) > side / 2)
        throw HostError(kExitUnsuitable, "the mover is larger than half of the frame's shorter side");
    // The whole way is at most half of the shorter side and lies about the frame's centre.
    const double step = std::min(side * 0.03, side / 2 / std::max(1, options_.frames - 1));
    const double heading = moverRandom.uniform(0.0, 2 * CV_PI);
    for (int index = 0; index < options_.frames; ++index) {
        const double way = step * (index - (options_.frames - 1) / 2.0);
        moverAt_.emplace_back(cvRound(halfWidth + way * std::cos(heading) - moverSize_.width / 2.0),
                              cvRound(halfHeight + way * std::sin(heading) - moverSize_.height / 2.0));
    }
}

std::optional<cv::Rect> BurstSynthesiser::mover(int index) const {
    if (!options_.mover) return std::nullopt;
    return cv::Rect(moverAt_.at(index), moverSize_);
}

cv::Mat BurstSynthesiser::moverMask(int index) const {
    cv::Mat mask(frameSize_, CV_8U, cv::Scalar(0));
    if (options_.mover)
        cv::Mat(moverCoverage(moverSize_) >= 128).copyTo(mask(cv::Rect(moverAt_.at(index), moverSize_)));
    return mask;
}

// The photograph as it is when frame `index` is taken: with the object, which looks like the middle of its way.
cv::Mat BurstSynthesiser::scene(int index) const {
    if (!options_.mover) return photo_;
    const cv::Rect middle((photo_.cols - moverSize_.width) / 2, (photo_.rows - moverSize_.height) / 2, moverSize_.width,
                          moverSize_.height);
    cv::Mat picture = photo_.clone();
    paintMover(picture(cv::Rect(origin_ + moverAt_.at(index), moverSize_)), photo_(middle), options_.moverContrast);
    return picture;
}

NoisyFrame BurstSynthesiser::frame(int index) const {
    const cv::Matx33d& homography = homographies_.at(index);
    const cv::Mat picture = scene(index);
    cv::Mat view;
    if (const std::optional<cv::Point> shift = wholePixelShift(homography)) {
        view = picture(cv::Rect(origin_ - *shift, frameSize_)).clone();
    } else {
        cv::warpPerspective(picture, view, homography * translation(-origin_.x, -origin_.y), frameSize_,
                            cv::INTER_LANCZOS4, cv::BORDER_REFLECT_101);
    }
    return addNoise(view, options_.noise,
                    mixSeed(options_.seed, kFirstNoiseStream + static_cast<std::uint64_t>(index)));
}

}  // namespace eishost
