// A frame of a burst once registration has brought it onto the reference.
#pragma once

#include <opencv2/core.hpp>

#include "host/picture/picture.h"

namespace eishost {

struct AlignedFrame {
    Picture picture;
    cv::Rect area;   // filled from the frame, even on all sides; what lies around it never counts
    cv::Mat ghosts;  // of luma size, not 0 where the frame must not count; empty for none
};

}  // namespace eishost
