// Camera paths smoothed by a weighted mean over time.
#pragma once

#include <opencv2/core.hpp>
#include <span>
#include <vector>

namespace eishost {

// Of a scene's frame after frame, each from the frame before to it; the first one does not count.
using Motions = std::span<const cv::Matx33d>;

// The frame `at` as a camera would have seen it that moves as the weighted mean of the motions from it to the frames
// around it, up to `reach` away (Matsushita, Ofek, Ge, Tang, Shum, "Full-frame video stabilization with motion
// inpainting", IEEE TPAMI 2006): from positions of that view to such of the frame. The weights are a Gaussian of
// standard deviation `deviation` frames. Towards an end of the scene they follow a straight line instead of a mean, for
// a pan would bend there.
cv::Matx33d gaussianCorrection(Motions motions, std::size_t at, double deviation, std::size_t reach);

}  // namespace eishost
