// What denoising did to a picture, to be looked at.
#pragma once

#include <opencv2/core.hpp>

#include "host/picture.h"

namespace eishost {

// A sheet of crops at their true size, 8-bit BGR: three places from the flattest to the most textured, one below the
// other, and beside each other the input, the output, and four times their difference around mid grey. Both pictures
// must have one size.
cv::Mat beforeAfterSheet(const Picture& before, const Picture& after);

}  // namespace eishost
