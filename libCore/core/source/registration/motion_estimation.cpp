#include "libCore/core/source/registration/motion_estimation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "include/acore_types.h"
#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/frame/arithmetic.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/registration/match_pairs.h"

namespace eis {

namespace {

constexpr double kMaxPerspective = 0.0001;
constexpr int kMaxLoss = 300;
constexpr int kMaxPasses = 50;

// The first eight elements of a homography; the last one counts as 1.
struct Projection {
    float m[8];

    Point map(int64_t px, int64_t py) const {
        const auto x = static_cast<float>(px);
        const auto y = static_cast<float>(py);
        const float d = m[6] * x + m[7] * y + 1.0F;
        return {(m[0] * x + m[1] * y + m[2]) / d, (m[3] * x + m[4] * y + m[5]) / d};
    }
};

Projection invert(const float* h) {
    const float inv = 1.0F / ((h[1] * h[5] - h[2] * h[4]) * h[6] + (h[4] * h[8] - h[5] * h[7]) * h[0] +
                              (h[2] * h[7] - h[1] * h[8]) * h[3]);
    return {{(h[4] * h[8] - h[5] * h[7]) * inv, (h[2] * h[7] - h[1] * h[8]) * inv,
             // h1 h7, where the determinant has h1 h5: settled behaviour that results depend on.
             (h[1] * h[7] - h[2] * h[4]) * inv, (h[5] * h[6] - h[3] * h[8]) * inv, (h[0] * h[8] - h[2] * h[6]) * inv,
             (h[2] * h[3] - h[0] * h[5]) * inv, (h[3] * h[7] - h[4] * h[6]) * inv, (h[1] * h[6] - h[0] * h[7]) * inv}};
}

// Sums of saturated corners leave 32 bits, so rectangles are worked on in 64.
struct Rectangle {
    int64_t x;
    int64_t y;
    int64_t w;
    int64_t h;
};

int64_t rounded(float v) {
    return truncSat32(static_cast<double>(v) + 0.5);
}
int64_t truncated(float v) {
    return truncSat32(v);
}

using Sorted4 = std::array<int64_t, 4>;

// Ascending, by a sorting network.
Sorted4 sorted(int64_t a, int64_t b, int64_t c, int64_t d) {
    const auto order = [](int64_t& low, int64_t& high) {
        if (high < low) std::swap(low, high);
    };
    order(a, b);
    order(c, d);
    order(a, c);
    order(b, d);
    order(b, c);
    return {a, b, c, d};
}

int refuse(const char* reason) {
    EIS_LOG_ERROR("%s", reason);
    return retStsNotEnoughKeypoints;
}

// Advances the near corner until it maps inside, then the two corners beside it. False at the fiftieth pass.
bool shrinkNear(const Projection& h, Rectangle& area) {
    int passes = 0;
    const auto shrink = [&](auto mapCorners) {
        for (bool outside = true; outside;) {
            const Point corner = mapCorners();
            outside = corner.x < 0 || corner.y < 0;
            if (corner.x < 0) {
                ++area.x;
                --area.w;
            }
            if (corner.y < 0) {
                ++area.y;
                --area.h;
            }
            if (++passes >= kMaxPasses) return false;
        }
        return true;
    };
    return shrink([&] { return h.map(area.x, area.y); }) && shrink([&] {
               return Point{h.map(area.x, area.y + area.h).x, h.map(area.x + area.w, area.y).y};
           });
}

// Pulls the far corner in until it maps inside, then the two corners beside it. False at the fiftieth pass.
bool shrinkFar(const Projection& h, int width, int height, Rectangle& area) {
    int passes = 0;
    const auto maxX = static_cast<float>(int64_t{width} - 2);
    const auto maxY = static_cast<float>(int64_t{height} - 2);
    const auto shrink = [&](auto mapCorners) {
        for (bool outside = true; outside;) {
            const Point corner = mapCorners();
            outside = corner.x > maxX || corner.y > maxY;
            if (corner.x > maxX) --area.w;
            if (corner.y > maxY) --area.h;
            if (++passes >= kMaxPasses) return false;
        }
        return true;
    };
    return shrink([&] { return h.map(area.x + area.w, area.y + area.h); }) && shrink([&] {
               return Point{h.map(area.x + area.w, area.y).x, h.map(area.x, area.y + area.h).y};
           });
}

// Makes the size a multiple of 8 and the position even; an odd position moves on, so that the far edge stays near.
void align(int64_t& position, int64_t& size) {
    if ((position & 1) == 0) {
        size = roundDown<int64_t>(size, 8);
        return;
    }
    const int64_t aligned = roundDown<int64_t>(size - 1, 8);
    const int64_t lost = size - aligned;
    position += lost - ((lost + 1) & 1);
    size = aligned;
}

}  // namespace

int MotionEstimation(const float* homography, int width, int height, ST_MOTION_AREA* motionAreaOut) {
    const Projection inverse = invert(homography);
    if (static_cast<double>(std::fabs(inverse.m[6])) > kMaxPerspective ||
        static_cast<double>(std::fabs(inverse.m[7])) > kMaxPerspective) {
        return refuse("IMG_REGISTRATION: Incorrect h!");
    }

    // The frame's outline in reference coordinates: near edges pulled up, far edges down.
    const int64_t W = width;
    const int64_t H = height;
    const Point nearNear = inverse.map(0, 0);
    const Point farNear = inverse.map(W - 1, 0);
    const Point nearFar = inverse.map(0, H - 1);
    const Point farFar = inverse.map(W - 1, H - 1);
    const Sorted4 xs = sorted(rounded(nearNear.x), rounded(nearFar.x), truncated(farNear.x), truncated(farFar.x));
    const Sorted4 ys = sorted(rounded(nearNear.y), rounded(farNear.y), truncated(nearFar.y), truncated(farFar.y));
    const int64_t left = xs[1], right = xs[2], top = ys[1], bottom = ys[2];
    if (left == right || top == bottom) return refuse("IMG_REGISTRATION: calculate motion area error!");

    const Sorted4 edgesX = sorted(left, right, 0, W - 1);
    const Sorted4 edgesY = sorted(top, bottom, 0, H - 1);
    if (!(edgesX[3] - edgesX[0] + 1 < W + (right - left + 1) && edgesY[3] - edgesY[0] + 1 < H + (bottom - top + 1))) {
        return refuse("IMG_REGISTRATION: calculate motion area error");
    }
    Rectangle area{edgesX[1], edgesY[1], edgesX[2] - edgesX[1] + 1, edgesY[2] - edgesY[1] + 1};
    if (W - area.w > kMaxLoss || H - area.h > kMaxLoss) {
        return refuse("IMG_REGISTRATION: the global motion between two frames is too large!");
    }

    Projection forward{};
    std::copy(homography, homography + 8, forward.m);
    if (!shrinkNear(forward, area) || !shrinkFar(forward, width, height, area)) {
        return refuse("IMG_REGISTRATION: calculate motion area error!");
    }
    area.w = std::min(area.w, W - area.x);
    area.h = std::min(area.h, H - area.y);
    align(area.x, area.w);
    align(area.y, area.h);
    if (area.x >= W || area.y >= H || area.w <= W >> 1 || area.h <= H >> 1) {
        return refuse("IMG_REGISTRATION: calculate motion area error!");
    }
    *motionAreaOut = {static_cast<int32_t>(area.x), static_cast<int32_t>(area.y), static_cast<int32_t>(area.w),
                      static_cast<int32_t>(area.h)};
    return 0;
}

}  // namespace eis
