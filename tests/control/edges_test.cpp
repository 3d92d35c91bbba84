// How near the values of the curves come to where their conversion to integer would give another entry. pow and log are
// the two calls whose last bits differ between C libraries; the report says by how many units in the last place they
// would have to.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tests/control/curve_set.h"
#include "tests/control/other_libm.h"

namespace eis::test {

namespace {

using Shift = OtherLibm (*)(int64_t ulps);

struct Flips {
    int count = 0;
    std::string first;
};

Flips compare(const Curve& curve, const std::vector<int16_t>& base, Shift shift, int64_t ulps) {
    const OtherLibm library = shift(ulps);
    const std::vector<int16_t> shifted = sweepCurve(curve, 0, curve.maxStrength);
    Flips flips;
    for (size_t i = 0; i < base.size(); ++i) {
        if (base[i] == shifted[i] || flips.count++ > 0) continue;
        flips.first = "strength " + std::to_string(i / curve.entries) + ", input " +
                      std::to_string(static_cast<int>(i % curve.entries) - curve.zero) + ", " +
                      std::to_string(base[i]) + " to " + std::to_string(shifted[i]);
    }
    return flips;
}

// The least shift in one direction that changes an entry of a sweep; 0 when 2^40 changes none.
int64_t nearestEdge(const Curve& curve, const std::vector<int16_t>& base, Shift shift, int sign) {
    int64_t high = 1;
    while (compare(curve, base, shift, sign * high).count == 0) {
        if (high >= int64_t{1} << 40) return 0;
        high *= 2;
    }
    int64_t low = high / 2;
    while (high - low > 1) {
        const int64_t middle = low + (high - low) / 2;
        (compare(curve, base, shift, sign * middle).count == 0 ? low : high) = middle;
    }
    return high;
}

TEST(CurveEdges, OneUlpChangesNothing) {
    constexpr struct {
        const char* name;
        Shift shift;
    } kShifts[] = {{"pow", [](int64_t ulps) { return OtherLibm::shiftedPow(ulps); }},
                   {"log", [](int64_t ulps) { return OtherLibm::shiftedLog(ulps); }}};
    for (const Curve& curve : kCurves) {
        const std::vector<int16_t> base = sweepCurve(curve, 0, curve.maxStrength);
        const auto alternating = [](int64_t ulps) {
            return OtherLibm::shiftedPow(ulps, OtherLibm::Pattern::kAlternating);
        };
        EXPECT_EQ(compare(curve, base, alternating, 1).count, 0) << curve.name << ", pow up and down in turn";
        for (const auto& [name, shift] : kShifts) {
            for (const int sign : {1, -1}) {
                const Flips one = compare(curve, base, shift, sign);
                EXPECT_EQ(one.count, 0) << curve.name << ", " << name << ", " << one.first;
                const int64_t ulps = sign * nearestEdge(curve, base, shift, sign);
                std::printf("%-12s %6zu entries: the first to change does at %s %+lld ulp: %s\n", curve.name,
                            base.size(), name, static_cast<long long>(ulps),
                            compare(curve, base, shift, ulps).first.c_str());
            }
        }
    }
}

}  // namespace

}  // namespace eis::test
