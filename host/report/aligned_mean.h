// The plain mean of a burst's aligned frames.
#pragma once

#include <opencv2/core.hpp>

#include "host/picture/picture.h"

namespace eishost {

// Each place is the mean of the reference and the frames that fill it: what moved by itself leaves a ghost.
class AlignedMean {
  public:
    explicit AlignedMean(const Picture& reference);

    // Inside `area`, of even sides; what lies around it is no part of the frame.
    void add(const Picture& aligned, const cv::Rect& area);

    Picture mean() const;

  private:
    Picture shape_;
    cv::Mat sums_[3];  // float
    cv::Mat counts_[3];
};

}  // namespace eishost
