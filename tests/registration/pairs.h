// Match pairs made to measure.
#pragma once

#include <vector>

#include "libCore/core/source/registration/match_pairs.h"
#include "tests/harness/content.h"

namespace eis {

inline bool operator==(Point a, Point b) {
    return a.x == b.x && a.y == b.y;
}

namespace test {

// Doubles, row-major; the last element is 1.
using Homography = double[9];

inline Point project(const Homography& h, double x, double y) {
    const double d = h[6] * x + h[7] * y + 1;
    return {static_cast<float>((h[0] * x + h[1] * y + h[2]) / d), static_cast<float>((h[3] * x + h[4] * y + h[5]) / d)};
}

struct PairList {
    std::vector<Point> ref;
    std::vector<Point> cur;

    void add(Point r, Point c) {
        ref.push_back(r);
        cur.push_back(c);
    }
    ST_MATCH_PAIRS pairs() { return {&ref[0].x, &cur[0].x, static_cast<int32_t>(ref.size())}; }
};

// Points at random places of a width x height picture, whose partners miss their projection by up to noise pixels in
// each direction, or, each of the given share, lie anywhere.
inline PairList randomPairs(const Homography& h, int count, int width, int height, double noise, double outliers,
                            Random& random) {
    PairList list;
    for (int i = 0; i < count; ++i) {
        const double x = random.unit() * width;
        const double y = random.unit() * height;
        Point to = project(h, x, y);
        to.x += static_cast<float>((random.unit() * 2 - 1) * noise);
        to.y += static_cast<float>((random.unit() * 2 - 1) * noise);
        if (random.unit() < outliers) {
            to = {static_cast<float>(random.unit() * width), static_cast<float>(random.unit() * height)};
        }
        list.add({static_cast<float>(x), static_cast<float>(y)}, to);
    }
    return list;
}

}  // namespace test

}  // namespace eis
