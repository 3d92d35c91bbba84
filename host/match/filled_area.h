// Where an aligned picture holds warped pixels, and where their mirror image.
#pragma once

#include <opencv2/core.hpp>

#include "host/picture/picture.h"

namespace eishost {

// The library keeps the rectangle that it filled from the frame to itself, but the margin around it shows where it is:
// each margin is a mirror image of what lies inside, the left and top one about the first column and row, the right and
// bottom one about the edge. This reads the rectangle off the luma of a picture that was warped. A margin is ambiguous
// where the picture is flat (a white sky); then the edge nearest to `expected` counts.
cv::Rect findFilledArea(const Picture& aligned, const cv::Rect& expected);

// The rectangle that a homography (reference to frame) leaves, from the outline of the frame in the reference: the two
// inner ones of its four corners along either axis, cut to the picture. Good to a few pixels.
cv::Rect expectedArea(const cv::Matx33d& homography, int width, int height);

}  // namespace eishost
