// Robust estimation of a homography.
#pragma once

#include <cstdint>

#include "libCore/core/source/registration/match_pairs.h"

namespace eis {

struct RansacParams {
    int32_t maxIters;
    float threshold;   // bound on the squared reprojection error, in pixels squared
    float confidence;  // that one sample was free of outliers
};

// Bytes of scratch that n pairs need.
inline constexpr int64_t kRansacScratchPerPair = 80;

// RANSAC (Fischler and Bolles 1981) over four-point samples, with the number of iterations adapted to the inliers
// found. Deterministic: its multiply-with-carry generator restarts at every call. Moves the inliers of the best model,
// in order, to the front of both arrays, and leaves their number in pointNum.
//   homographyOut  nine floats; written when a model is accepted, which takes at least five inliers
//   scratch        kRansacScratchPerPair * pointNum bytes
// 0 when the loop ran its course, else -1: 100 draws in a row were rejected (or there are no pairs), and the pairs are
// as they were. When no model was accepted pointNum becomes 4, and the first four pairs mean nothing.
// `_plain` is the definition: one sample is drawn, fitted and scored after the other. The other form draws and fits
// several ahead, with the same result.
int RansacEstimation(ST_MATCH_PAIRS* matchPairs, float* homographyOut, const RansacParams* params, void* scratch);
int RansacEstimation_plain(ST_MATCH_PAIRS* matchPairs, float* homographyOut, const RansacParams* params, void* scratch);

}  // namespace eis
