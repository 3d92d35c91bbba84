// The object that moves by itself through a synthetic burst or clip.
#pragma once

#include <opencv2/core.hpp>
#include <optional>

namespace eishost {

// How much of each pixel of its box the object covers, 0 to 255: an ellipse.
cv::Mat moverCoverage(cv::Size box);

// Paints the object into `under`, the part of an 8-bit BGR picture that its box is. It is `piece`, a part of the
// photograph of the same size, upside down and in a red light, so that it stands out and yet has texture; or, with a
// contrast, what it covers, that many levels lighter, or darker where that is light.
void paintMover(cv::Mat under, const cv::Mat& piece, const std::optional<int>& contrast);

}  // namespace eishost
