#include "host/motion/shake.h"

#include <cmath>

#include "host/motion/transforms.h"
#include "host/picture/metrics.h"

namespace eishost {

namespace {

constexpr int kSteps = 4;  // of a grid over the frame, along either side

}  // namespace

void ShakeMeter::add(const std::optional<cv::Matx33d>& motion, const cv::Matx33d& correction) {
    std::optional<cv::Matx33d> onwards;
    if (motion) onwards = normalised(correction.inv() * *motion * correction_);
    beforeLast_ = 0;
    if (onwards && toHere_) {
        double sum = 0;
        const cv::Matx33d back = toHere_->inv();
        for (int row = 0; row <= kSteps; ++row) {
            for (int column = 0; column <= kSteps; ++column) {
                const cv::Point2d at(frame_.width * column / double{kSteps}, frame_.height * row / double{kSteps});
                const cv::Point2d bend = project(*onwards, at) + project(back, at) - at * 2;
                sum += bend.dot(bend);
            }
        }
        constexpr int kPlaces = (kSteps + 1) * (kSteps + 1);
        beforeLast_ = std::sqrt(sum / kPlaces);
        sum_ += sum;
        count_ += kPlaces;
    }
    toHere_ = onwards;
    correction_ = correction;
}

double ShakeMeter::value() const {
    return count_ > 0 ? std::sqrt(sum_ / count_) : 0;
}

}  // namespace eishost
