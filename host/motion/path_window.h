// The stretch of a camera's path that is smoothed at once.
#pragma once

#include <array>
#include <opencv2/core.hpp>
#include <vector>

#include "host/motion/transforms.h"

namespace eishost {

// What the picture may do. In the coordinates of Similarity, whose frame reaches from -1 to 1 and from -aspect to
// aspect.
struct FrameBounds {
    double aspect = 0.5625;  // height over width
    double zoom = 1;         // a picture's least size, over the shown part of it
    double overhang = 0;     // share of the half width by which the shown part may reach over the frame's edges
};

// Frames in a row of one scene. A correction leads from a position of the result to one of the frame; the path of the
// result is what it makes of the camera's.
struct PathWindow {
    // From each frame to the window's first one.
    std::vector<Similarity> camera;
    // How far each frame's homography moves its corners away from where the similarity has them. The picture is
    // brought back by as much, which it needs room for.
    std::vector<std::array<cv::Point2d, 4>> slack;
    // Corrections of the first frames, which stand already.
    std::vector<Similarity> held;

    std::size_t size() const { return camera.size(); }
};

}  // namespace eishost
