// What denoising did to a picture, to be looked at.
#pragma once

#include <opencv2/core.hpp>

#include "host/picture/caption.h"
#include "host/picture/picture.h"

namespace eishost {

// A sheet of crops at their true size, 8-bit BGR, below the caption: three places from the flattest to the most
// textured, one below the other, and beside each other the input, the output, the truth unless it is null, and four
// times the difference of input and output around mid grey. Under each place stand its position and its figures. All
// pictures must have one size.
cv::Mat beforeAfterSheet(const Picture& before, const Picture& after, const Picture* truth, const Caption& caption);

}  // namespace eishost
