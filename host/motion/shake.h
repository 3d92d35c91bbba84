// How much a clip shakes.
#pragma once

#include <opencv2/core.hpp>
#include <optional>

namespace eishost {

// The root mean square of the content's acceleration: what lies at a position of a frame was elsewhere in the frame
// before and is elsewhere in the next one, and the second difference of these three positions, in pixels, is 0 for a
// camera that moves evenly.
class ShakeMeter {
  public:
    explicit ShakeMeter(cv::Size frame) : frame_(frame) {}

    // The next frame: its content's motion from the frame before, without a value where a scene begins. `correction`
    // leads from positions of the result to such of the frame.
    void add(const std::optional<cv::Matx33d>& motion, const cv::Matx33d& correction);

    // Pixels; 0 until three frames of a scene were seen.
    double value() const;

    // That of the frame before the one that was added last, alone; 0 at either end of a scene.
    double beforeLast() const { return beforeLast_; }

  private:
    cv::Size frame_;
    std::optional<cv::Matx33d> toHere_;  // from the result's frame before to its last one
    cv::Matx33d correction_ = cv::Matx33d::eye();
    double beforeLast_ = 0;
    double sum_ = 0;
    double count_ = 0;
};

}  // namespace eishost
