#include "libCore/core/source/arithmetic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace eis {
namespace {

constexpr int32_t kMin = INT32_MIN;
constexpr int32_t kMax = INT32_MAX;

TEST(Arithmetic, TruncationSaturates) {
    const double inf = std::numeric_limits<double>::infinity();
    const struct {
        double value;
        int32_t expected;
    } cases[] = {{0.0, 0},
                 {-0.999, 0},
                 {0.999, 0},
                 {-1.5, -1},
                 {1.5, 1},
                 {2147483646.999, kMax - 1},
                 {2147483647.0, kMax},
                 {2147483648.0, kMax},
                 {1e300, kMax},
                 {inf, kMax},
                 {-2147483647.5, kMin + 1},
                 {-2147483648.0, kMin},
                 {-2147483648.5, kMin},
                 {-inf, kMin},
                 {std::nan(""), 0},
                 {-std::nan(""), 0}};
    for (const auto& c : cases) EXPECT_EQ(truncSat32(c.value), c.expected) << c.value;
}

TEST(Arithmetic, Wraps) {
    EXPECT_EQ(wrapAdd(kMax, 1), kMin);
    EXPECT_EQ(wrapSub(kMin, 1), kMax);
    EXPECT_EQ(wrapMul(65537, 65537), 131073);
    EXPECT_EQ(wrapMul(kMin, -1), kMin);
    EXPECT_EQ(wrapAbs(kMin), kMin);
}

TEST(Arithmetic, PitchIsAMultipleOf128) {
    const int cases[][2] = {{0, 0},  {1, 128},     {128, 128},   {129, 256},
                            {-1, 0}, {-128, -128}, {-129, -128}, {kMax, kMin}};
    for (const auto& c : cases) EXPECT_EQ(stride128(c[0]), c[1]) << c[0];
}

}  // namespace
}  // namespace eis
