#include "host/synth/synth_clip.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "host/program/exit_codes.h"
#include "host/synth/hand_shake.h"
#include "host/synth/resampling.h"
#include "host/synth/synth_mover.h"
#include "host/synth/synth_seed.h"

namespace eishost {

namespace {

const cv::Point2d kSpeed(1 / 640.0, 1 / 2560.0);  // of the pan, of the frame's width a frame
const cv::Size2d kRoom(1.4, 1.1);                 // of the photograph for a pan, of the frame's size
constexpr double kTurnFrames = HandShake::kRate;
constexpr double kMoverRound = 6 * HandShake::kRate;  // frames that the object takes to come back
constexpr double kMoverReach = 0.3;                   // of the room that the frame leaves it

// Streams of random numbers.
enum ClipStream : std::uint64_t { kShakeStream, kClipMoverStream, kFirstClipNoiseStream };

cv::Matx33d translation(const cv::Point2d& by) {
    return {1, 0, by.x, 0, 1, by.y, 0, 0, 1};
}

// How far a corner of the frame moves at most, in each axis.
double reachOf(const std::vector<cv::Matx33d>& shake, const cv::Size& size) {
    const std::array<cv::Point2d, 4> corners{cv::Point2d(0, 0), cv::Point2d(size.width, 0), cv::Point2d(0, size.height),
                                             cv::Point2d(size.width, size.height)};
    double reach = 0;
    for (const cv::Matx33d& homography : shake) {
        const cv::Matx33d back = homography.inv();
        for (const cv::Point2d& corner : corners) {
            const cv::Vec3d seen = back * cv::Vec3d(corner.x, corner.y, 1);
            reach = std::max({reach, std::abs(seen[0] - corner.x), std::abs(seen[1] - corner.y)});
        }
    }
    return reach;
}

}  // namespace

ClipSynthesiser::ClipSynthesiser(const cv::Mat& photo, const ClipOptions& options) : options_(options) {
    const HandShake shake(mixSeed(options.seed, kShakeStream), options.shake, options.size);
    for (int index = 0; index < options.frames; ++index) shake_.push_back(shake.at(index));
    layOut(photo);

    const int side = std::min(options.size.width, options.size.height);
    moverSize_ = options.moverSize ? cv::Size(*options.moverSize, *options.moverSize)
                                   : cv::Size(cvRound(side / 6.0), cvRound(side / 8.0));
    if (options.mover && moverSize_.height > side)
        throw HostError(kExitUnsuitable, "the mover is larger than the frame's shorter side");
    moverPhase_ = cv::RNG(mixSeed(options.seed, kClipMoverStream)).uniform(0.0, 2 * CV_PI);
}

void ClipSynthesiser::layOut(const cv::Mat& photo) {
    const cv::Size2d size = options_.size;
    const cv::Size2d room = options_.still ? cv::Size2d(1, 1) : kRoom;
    const double margin = reachOf(shake_, options_.size) + kKernelReach;
    const double largest = std::min(photo.cols / (size.width + 2 * margin), photo.rows / (size.height + 2 * margin));
    if (largest < 1) throw HostError(kExitUnsuitable, "the photograph is too small for frames of that size and shake");
    const double scale = std::max((size.width * room.width + 2 * margin) / photo.cols,
                                  (size.height * room.height + 2 * margin) / photo.rows);
    cv::Mat scene = photo;
    if (scale < 1) {
        const cv::Size smaller(static_cast<int>(std::ceil(photo.cols * scale)),
                               static_cast<int>(std::ceil(photo.rows * scale)));
        cv::resize(photo, scene, smaller, 0, 0, cv::INTER_AREA);
    }
    if (scene.cols > kLargestSide || scene.rows > kLargestSide)
        throw HostError(kExitUnsuitable,
                        "the photograph is too large: sides must be up to " + std::to_string(kLargestSide));
    scenes_.push_back(scene);
    if (options_.cut) {
        scenes_.emplace_back();
        cv::flip(scene, scenes_.back(), -1);
    }

    const cv::Point2d left(scene.cols - size.width - 2 * margin, scene.rows - size.height - 2 * margin);
    if (options_.still) {
        origin_ = cv::Point2d(margin + left.x / 2, margin + left.y / 2);
        return;
    }
    // Turning back takes a second, for which a short way needs a low speed.
    sweeps_[0] = {left.x, std::min(kSpeed.x * size.width, left.x / kTurnFrames)};
    sweeps_[1] = {left.y, std::min(kSpeed.y * size.width, left.y / kTurnFrames)};
    origin_ = cv::Point2d(margin + sweeps_[0].at(0), margin + sweeps_[1].at(0));
}

// Speeds up over kTurnFrames from one end, goes on at that speed and slows down at the other end, and so back. Frame 0
// is at full speed.
double ClipSynthesiser::Sweep::at(int index) const {
    if (speed <= 0) return 0;
    const double leg = length / speed + kTurnFrames;
    const double time = std::fmod(index + kTurnFrames, 2 * leg);
    const double sinceTurn = time < leg ? time : time - leg;
    const auto speedingUp = [&](double since) { return speed * since * since / (2 * kTurnFrames); };
    double way = speed * (sinceTurn - kTurnFrames / 2);
    if (sinceTurn < kTurnFrames) way = speedingUp(sinceTurn);
    if (sinceTurn > leg - kTurnFrames) way = length - speedingUp(leg - sinceTurn);
    return time < leg ? way : length - way;
}

// From frame 0 on.
cv::Point2d ClipSynthesiser::pan(int index) const {
    return {sweeps_[0].at(index) - sweeps_[0].at(0), sweeps_[1].at(index) - sweeps_[1].at(0)};
}

cv::Matx33d ClipSynthesiser::homography(int index) const {
    const cv::Matx33d wanted = translation(-pan(index));
    return options_.steady ? wanted : shake_.at(index) * wanted;
}

std::optional<cv::Rect> ClipSynthesiser::mover(int index) const {
    if (!options_.mover) return std::nullopt;
    const cv::Size2d room(options_.size - moverSize_);
    const double angle = 2 * CV_PI * index / kMoverRound + moverPhase_;
    const cv::Point2d corner = pan(index) + cv::Point2d(room.width * (0.5 + kMoverReach * std::cos(angle)),
                                                        room.height * (0.5 + kMoverReach * std::sin(angle)));
    return cv::Rect(cv::Point(corner), moverSize_);
}

cv::Mat ClipSynthesiser::frame(int index) const {
    cv::Mat picture = scenes_.at(sceneOf(index));
    if (const std::optional<cv::Rect> box = mover(index)) {
        const cv::Mat bare = picture;
        const cv::Rect middle(cv::Point((bare.cols - box->width) / 2, (bare.rows - box->height) / 2), box->size());
        picture = bare.clone();
        paintMover(picture(*box + origin_), bare(middle), options_.moverContrast);
    }
    cv::Mat view;
    cv::warpPerspective(picture, view, homography(index) * translation(-origin_), options_.size, cv::INTER_LANCZOS4,
                        cv::BORDER_REFLECT_101);
    return addNoise(view, options_.noise,
                    mixSeed(options_.seed, kFirstClipNoiseStream + static_cast<std::uint64_t>(index)))
        .noisy;
}

nlohmann::ordered_json clipTruth(const ClipSynthesiser& clip, const ClipOptions& options) {
    nlohmann::ordered_json truth{
        {"seed", options.seed},
        {"width", options.size.width},
        {"height", options.size.height},
        {"rate", HandShake::kRate},
        {"options",
         {{"frames", options.frames}, {"shake", options.shake}, {"still", options.still}, {"mover", options.mover}}}};
    if (options.cut) truth["options"]["cut"] = *options.cut;
    if (options.moverSize) truth["options"]["moverSize"] = *options.moverSize;
    if (options.moverContrast) truth["options"]["moverContrast"] = *options.moverContrast;
    for (int index = 0; index < options.frames; ++index) {
        const cv::Matx33d homography = clip.homography(index);
        nlohmann::ordered_json frame{{"scene", clip.sceneOf(index)},
                                     {"homography", std::vector<double>(homography.val, homography.val + 9)}};
        if (const std::optional<cv::Rect> box = clip.mover(index)) {
            frame["mover"] = {box->x, box->y, box->width, box->height};
        }
        truth["frames"].push_back(std::move(frame));
    }
    return truth;
}

}  // namespace eishost
