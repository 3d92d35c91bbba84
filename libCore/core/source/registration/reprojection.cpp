#include "libCore/core/source/registration/reprojection.h"

#include <algorithm>
#include <cmath>

#define HWY_TARGET_INCLUDE "libCore/core/source/registration/reprojection.cpp"
#include "libCore/core/source/frame/vector_unit.h"

EIS_BEFORE_TARGET();

void ReprojectionErrors(const PairColumns& pairs, const float* homography, float* HWY_RESTRICT errors) {
    const float* HWY_RESTRICT refX = pairs.refX;
    const float* HWY_RESTRICT refY = pairs.refY;
    const float* HWY_RESTRICT curX = pairs.curX;
    const float* HWY_RESTRICT curY = pairs.curY;
    const float h0 = homography[0], h1 = homography[1], h2 = homography[2], h3 = homography[3], h4 = homography[4],
                h5 = homography[5], h6 = homography[6], h7 = homography[7];
    for (int i = 0; i < pairs.count; ++i) {
        const float x = refX[i];
        const float y = refY[i];
        const float den = 1.0F / std::fma(y, h7, std::fma(x, h6, 1.0F));
        const float ex = std::fma(den, std::fma(y, h1, std::fma(x, h0, h2)), -curX[i]);
        const float ey = std::fma(den, std::fma(y, h4, std::fma(x, h3, h5)), -curY[i]);
        errors[i] = std::fma(ey, ey, ex * ex);
    }
}

int CountInliers(const float* HWY_RESTRICT errors, float threshold, int count, uint8_t* HWY_RESTRICT mask) {
    int inliers = 0;
    for (int i = 0; i < count; ++i) {
        const int inlier = errors[i] <= threshold ? 1 : 0;
        mask[i] = static_cast<uint8_t>(inlier);
        inliers += inlier;
    }
    return inliers;
}

int InliersOfBlocks(const PairColumns& pairs, const float* homography, float threshold, int needed, float* errors,
                    uint8_t* mask) {
    constexpr int kBlock = 128;
    int inliers = 0;
    for (int i = 0; i < pairs.count && inliers + pairs.count - i >= needed; i += kBlock) {
        const int count = std::min(pairs.count - i, kBlock);
        const PairColumns block{pairs.refX + i, pairs.refY + i, pairs.curX + i, pairs.curY + i, count};
        ReprojectionErrors(block, homography, errors + i);
        inliers += CountInliers(errors + i, threshold, count, mask + i);
    }
    return inliers;
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(InliersOfBlocks);

int ReprojectionInliers(const PairColumns& pairs, const float* homography, float threshold, int needed, float* errors,
                        uint8_t* mask) {
    return HWY_DYNAMIC_DISPATCH(InliersOfBlocks)(pairs, homography, threshold, needed, errors, mask);
}

int ReprojectionInliers_plain(const PairColumns& pairs, const float* h, float threshold, int needed, float* errors,
                              uint8_t* mask) {
    int inliers = 0;
    for (int i = 0; i < pairs.count && inliers + pairs.count - i >= needed; ++i) {
        const float x = pairs.refX[i];
        const float y = pairs.refY[i];
        const float den = 1.0F / std::fma(y, h[7], std::fma(x, h[6], 1.0F));
        const float ex = std::fma(den, std::fma(y, h[1], std::fma(x, h[0], h[2])), -pairs.curX[i]);
        const float ey = std::fma(den, std::fma(y, h[4], std::fma(x, h[3], h[5])), -pairs.curY[i]);
        errors[i] = std::fma(ey, ey, ex * ex);
        mask[i] = errors[i] <= threshold ? 1 : 0;
        inliers += mask[i];
    }
    return inliers;
}

}  // namespace eis
#endif
