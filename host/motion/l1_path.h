// Smooth camera paths as a photographer would have made them.
#pragma once

#include <vector>

#include "host/motion/path_window.h"

namespace eishost {

// What a path costs: its speed, the change of that, and the change of this, each as a sum of absolute values. A high
// first weight makes the camera stand, a high third one makes it start and stop softly.
struct PathWeights {
    double speed;
    double acceleration;
    double jerk;
};

// Corrections of all frames of the window, those that are held included. The path of the result is of least cost under
// the bounds of the frame, which makes it stand still, move evenly, or change its speed evenly, stretch by stretch
// (Grundmann, Kwatra, Essa, "Auto-directed video stabilization with robust L1 optimal camera paths", CVPR 2011). It is
// solved as a linear program.
std::vector<Similarity> l1Path(const PathWindow& window, const FrameBounds& bounds, const PathWeights& weights);

}  // namespace eishost
