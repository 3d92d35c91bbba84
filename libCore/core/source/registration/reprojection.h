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
// current-frame point, in one order of fused operations on every target; the homography's last element counts as 1.
// mask[i] becomes 1 where that is at most the threshold, else 0. Returns how many those are; gives up, with what it has
// counted so far, once the number can no longer reach `needed`, the vector form after whole blocks of pairs.
int ReprojectionInliers(const PairColumns& pairs, const float* homography, float threshold, int needed, float* errors,
                        uint8_t* mask);
int ReprojectionInliers_plain(const PairColumns& pairs, const float* homography, float threshold, int needed,
                              float* errors, uint8_t* mask);

}  // namespace eis
