// How near the values of the curves come to where their conversion to integer would give another entry. pow and log are
// the two calls whose last bits differ between C libraries; the report says by how many units in the last place they
// would have to.
#include <gtest/gtest.h>

#include <cstdio>
#include <numeric>
#include <vector>

#include "tests/control/curve_set.h"
#include "tests/control/other_libm.h"

namespace eis::test {

namespace {

using Shift = OtherLibm (*)(int64_t ulps);

struct Flip {
    int strength;
    int input;
    int from;
    int to;
};

// Where the tables of some strengths differ from those of the real library when a function is shifted.
std::vector<Flip> flipsAt(const Curve& curve, const std::vector<int>& strengths, Shift shift, int64_t ulps) {
    std::vector<Flip> flips;
    for (const int strength : strengths) {
        const std::vector<int16_t> real = buildCurve(curve, strength);
        const OtherLibm library = shift(ulps);
        const std::vector<int16_t> shifted = buildCurve(curve, strength);
        for (int i = curve.zero; i < curve.entries; ++i) {
            if (real[i] != shifted[i]) flips.push_back({strength, i - curve.zero, real[i], shifted[i]});
        }
    }
    return flips;
}

// The least shift in one direction that changes an entry.
int64_t nearestEdge(const Curve& curve, std::vector<int> strengths, Shift shift, int sign) {
    int64_t low = 0;
    int64_t high = 1;
    std::vector<Flip> flips;
    while ((flips = flipsAt(curve, strengths, shift, sign * high)).empty()) {
        low = high;
        high *= 4;
    }
    // From here on only these can be the nearest.
    strengths.clear();
    for (const Flip& flip : flips) {
        if (strengths.empty() || strengths.back() != flip.strength) strengths.push_back(flip.strength);
    }
    while (high - low > 1) {
        const int64_t middle = low + (high - low) / 2;
        (flipsAt(curve, strengths, shift, sign * middle).empty() ? low : high) = middle;
    }
    return sign * high;
}

TEST(CurveEdges, OneUlpChangesNothing) {
    constexpr struct {
        const char* name;
        Shift shift;
    } kShifts[] = {{"pow", [](int64_t ulps) { return OtherLibm::shiftedPow(ulps); }},
                   {"log", [](int64_t ulps) { return OtherLibm::shiftedLog(ulps); }}};
    constexpr Shift kAlternating = [](int64_t ulps) {
        return OtherLibm::shiftedPow(ulps, OtherLibm::Pattern::kAlternating);
    };
    for (const Curve& curve : kCurves) {
        std::vector<int> strengths(curve.maxStrength + 1);
        std::iota(strengths.begin(), strengths.end(), 0);
        for (const auto& [name, shift] : kShifts) {
            EXPECT_TRUE(flipsAt(curve, strengths, shift, 1).empty()) << curve.name << ", " << name << " up";
            EXPECT_TRUE(flipsAt(curve, strengths, shift, -1).empty()) << curve.name << ", " << name << " down";
        }
        EXPECT_TRUE(flipsAt(curve, strengths, kAlternating, 1).empty()) << curve.name << ", pow up and down in turn";
        for (const auto& [name, shift] : kShifts) {
            for (const int sign : {1, -1}) {
                const int64_t ulps = nearestEdge(curve, strengths, shift, sign);
                const Flip flip = flipsAt(curve, strengths, shift, ulps).front();
                std::printf("%-12s first change at %s %+lld ulp: strength %d, input %d, %d to %d\n", curve.name, name,
                            static_cast<long long>(ulps), flip.strength, flip.input, flip.from, flip.to);
            }
        }
    }
}

}  // namespace

}  // namespace eis::test
