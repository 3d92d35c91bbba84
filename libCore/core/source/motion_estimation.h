// Which part of the reference frame another frame can fill.
#pragma once

#include <cstdint>

namespace eis {

// A rectangle in pixels of the reference frame.
struct ST_MOTION_AREA {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
};

// Computes the rectangle of a width x height reference frame that a warp through the homography (nine floats, reference
// position to position in the frame to align) can fill: x and y even, width and height multiples of 8 and above half of
// the frame's. 0; 3, with a log line that says why, when the frame cannot be aligned, and then nothing is written.
int MotionEstimation(const float* homography, int width, int height, ST_MOTION_AREA* motionAreaOut);

}  // namespace eis
