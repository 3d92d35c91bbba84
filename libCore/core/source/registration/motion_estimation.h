// Which part of the reference frame another frame can fill.
#pragma once

#include "libCore/core/source/neon/warp/motion_area.h"

namespace eis {

// Computes the rectangle of a width x height reference frame that a warp through the homography (nine floats, reference
// position to position in the frame to align) can fill: x and y even, width and height multiples of 8 and above half of
// the frame's. 0; 3, with a log line that says why, when the frame cannot be aligned, and then nothing is written.
int MotionEstimation(const float* homography, int width, int height, ST_MOTION_AREA* motionAreaOut);

}  // namespace eis
