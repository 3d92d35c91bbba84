#include "host/motion/stabilizer.h"

#include <opencv2/imgproc.hpp>
#include <utility>
#include <vector>

#include "host/program/cpu_time.h"
#include "host/program/exit_codes.h"

namespace eishost {

namespace {

// Of its own accord the library keeps two pixels and more off the frame's edges, and its check of the turned frame's
// outline is good to a few. Room around the frame, which holds its mirror image, keeps that out of sight.
constexpr int kPadding = 16;
constexpr int kSideStep = 8;  // of the sides that the library fills

int padded(int side, int padding) {
    return (side + 2 * padding + kSideStep - 1) / kSideStep * kSideStep;
}

cv::Size checked(cv::Size frame) {
    if (frame.width >= kLeastClipSide && frame.height >= kLeastClipSide) return frame;
    throw HostError(kExitUnsuitable, "a clip of " + std::to_string(frame.width) + "x" + std::to_string(frame.height) +
                                         " pixels is too small to be steadied; both sides must have " +
                                         std::to_string(kLeastClipSide) + " at least");
}

cv::Matx33d moved(const cv::Matx33d& homography, double by) {
    return cv::Matx33d(1, 0, by, 0, 1, by, 0, 0, 1) * homography * cv::Matx33d(1, 0, -by, 0, 1, -by, 0, 0, 1);
}

}  // namespace

Stabilizer::Stabilizer(cv::Size frame, const StabilizerOptions& options, std::function<void(SteadyFrame&&)> take)
    : options_(options),
      frame_(checked(frame)),
      padding_(options.path.mirror ? 0 : kPadding),
      take_(std::move(take)),
      arena_(options.trace),
      tracker_(arena_, frame, {options.path.kind == PathKind::kStill, options.log}),
      planner_(frame, options.path),
      warp_(arena_, padded(frame.width, padding_), padded(frame.height, padding_)) {
    // Pieces of a frame are too small to be worth several threads, which cost more than they save here.
    cv::setNumThreads(1);
}

void Stabilizer::add(Picture&& picture, std::string_view fields) {
    SteadyFrame frame;
    frame.number = count_++;
    {
        const CpuTimeOf time(times_.motion);
        frame.motion = tracker_.next(picture.mat(0));
    }
    frame.picture = std::move(picture);
    frame.fields = fields;
    if (frame.motion.cut) {
        finish();
        planner_.beginScene();
    }
    pending_.push_back(std::move(frame));
    if (pending_.size() >= static_cast<std::size_t>(options_.path.lookahead)) decide(planner_.step(pending_.size()));
}

void Stabilizer::finish() {
    if (count_ == 1 && pending_.size() == 1) {  // a clip of one frame does not shake
        take_(std::move(pending_.front()));
        pending_.clear();
    }
    if (!pending_.empty()) decide(pending_.size());
}

void Stabilizer::decide(std::size_t count) {
    std::vector<cv::Matx33d> motions;
    for (const SteadyFrame& frame : pending_) motions.push_back(frame.motion.fromPrevious);
    std::vector<cv::Matx33d> corrections;
    {
        const CpuTimeOf time(times_.path);
        corrections = planner_.take(motions, count);
    }
    for (const cv::Matx33d& correction : corrections) {
        SteadyFrame frame = std::move(pending_.front());
        pending_.pop_front();
        frame.correction = correction;
        if (!options_.measureOnly) steady(frame);
        take_(std::move(frame));
    }
}

bool Stabilizer::warped(const cv::Matx33d& correction) {
    const CpuTimeOf time(times_.library);
    return warp_.warp(moved(correction, padding_), options_.log);
}

void Stabilizer::steady(SteadyFrame& frame) {
    for (int plane = 0; plane < 3; ++plane) {
        const cv::Mat input = warp_.input(plane);
        const cv::Mat samples = frame.picture.mat(plane);
        const int before = plane == 0 ? padding_ : padding_ / 2;
        cv::copyMakeBorder(samples, input, before, input.rows - samples.rows - before, before,
                           input.cols - samples.cols - before, cv::BORDER_REFLECT);
    }
    if (!warped(frame.correction)) {
        frame.refused = true;
        frame.correction = planner_.plain();
        (void)warped(frame.correction);
    }
    frame.border = shareOutside(frame.correction, frame_);
    for (int plane = 0; plane < 3; ++plane) {
        cv::Mat samples = frame.picture.mat(plane);
        const int before = plane == 0 ? padding_ : padding_ / 2;
        warp_.output(plane)(cv::Rect({before, before}, samples.size())).copyTo(samples);
    }
}

}  // namespace eishost
