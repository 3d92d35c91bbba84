// Where the mean of a burst's frames shows something else than the reference.
#pragma once

#include <array>
#include <opencv2/core.hpp>

#include "host/merge/plane_model.h"
#include "host/picture/picture.h"

namespace eishost {

// 0 where the two agree to 1 where they do not, by quads, as float. The smoothed difference of the planes is held
// against what it usually is at settled places as busy as this one: what the weights of single frames let pass stands
// out here, above the lower noise of all of them. `means` are in units of Accumulator::kMeanUnits.
cv::Mat ghostMap(const Picture& reference, const std::array<cv::Mat, 3>& means, const QuadKinds& kinds,
                 const std::array<PlaneModel, 3>& models);

}  // namespace eishost
