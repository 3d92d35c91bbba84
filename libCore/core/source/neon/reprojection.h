// Reprojection errors of match pairs under a homography.
#pragma once

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

}  // namespace eis
