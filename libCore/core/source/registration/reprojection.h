// Reprojection errors of match pairs under a homography.
#pragma once

#include <cstdint>

namespace eis {

// Coordinates of n pairs, one array each.
struct PairColumns {
    const float* refX;
    const float* refY;
    const float* curX;
    const float* curY;
    int count;
};

// errors[i] becomes the squared distance, in pixels squared, between the projection of reference point i and its
// current-frame point. The homography's last element counts as 1. Fused, in one order on every target.
void ReprojectionErrors_neon(const PairColumns& pairs, const float* homography, float* errors);
void ReprojectionErrors_plain(const PairColumns& pairs, const float* homography, float* errors);

// Errors as above, a mask of those that are at most the threshold (1, others 0), and their number. Gives up, with what
// it has counted so far, where the number can no longer reach `needed`.
int ReprojectionInliers_neon(const PairColumns& pairs, const float* homography, float threshold, int needed,
                             float* errors, uint8_t* mask);

}  // namespace eis
