// Pictures with something to register by, made here.
#pragma once

#include <opencv2/core.hpp>

namespace eishost {

// Rectangles and discs of all sizes, soft at the edges, the same each time.
cv::Mat collage(int width, int height);

}  // namespace eishost
