// How near the values of the curves come to where their conversion to integer would give another entry. pow and log are
// the two calls whose last bits differ between C libraries; the report says by how many units in the last place they
// would have to. The plain forms tell: the others ask pow only where an entry is that near.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <numeric>
#include <vector>

#include "tests/control/curve_set.h"

namespace {

// What another C library would answer: results move away from zero by so many units in their last place.
struct Shift {
    const char* name = "";
    bool ofPow = false;
    bool alternating = false;  // of pow: the shift's sign, call by call
    int64_t by = 0;
};
Shift g_shift;

// 0 and 1 are exact in every library, as are infinities and NaNs.
double shifted(double value, bool isPow) {
    if (g_shift.ofPow != isPow || value == 0.0 || value == 1.0 || !std::isfinite(value)) return value;
    const double result = std::bit_cast<double>(std::bit_cast<int64_t>(value) + g_shift.by);
    if (g_shift.alternating) g_shift.by = -g_shift.by;
    return result;
}

}  // namespace

extern "C" {
double __real_pow(double base, double exponent);
double __real_log(double value);
double __wrap_pow(double base, double exponent) {
    return shifted(__real_pow(base, exponent), true);
}
double __wrap_log(double value) {
    return shifted(__real_log(value), false);
}
}

namespace eis::test {

namespace {

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
        const std::vector<int16_t> real = buildCurve(curve, strength, true);
        shift.by = ulps;
        g_shift = shift;
        const std::vector<int16_t> shifted = buildCurve(curve, strength, true);
        g_shift = {};
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
    for (const Curve& curve : kCurves) {
        std::vector<int> strengths(curve.maxStrength + 1);
        std::iota(strengths.begin(), strengths.end(), 0);
        for (const Shift shift : {Shift{"pow", true}, Shift{"log"}, Shift{"pow in turn", true, true}}) {
            for (const int sign : {1, -1}) {
                EXPECT_TRUE(flipsAt(curve, strengths, shift, sign).empty()) << curve.name << ", " << shift.name;
                if (shift.alternating) continue;
                const int64_t ulps = nearestEdge(curve, strengths, shift, sign);
                const Flip flip = flipsAt(curve, strengths, shift, ulps).front();
                std::printf("%-12s first change at %s %+lld ulp: strength %d, input %d, %d to %d\n", curve.name,
                            shift.name, static_cast<long long>(ulps), flip.strength, flip.input, flip.from, flip.to);
            }
        }
    }
}

}  // namespace

}  // namespace eis::test
