// Arithmetic, pitches, durations and banners.
#include <gtest/gtest.h>

#include <cmath>

#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/frame/arithmetic.h"
#include "libCore/core/source/frame/clock.h"
#include "libCore/core/source/frame/version.h"
#include "tests/harness/events.h"

namespace eis {
namespace {

constexpr int32_t kMin = INT32_MIN;
constexpr int32_t kMax = INT32_MAX;

TEST(Arithmetic, SaturatesAndWraps) {
    const struct {
        double value;
        int32_t expected;
    } cases[] = {{-0.999, 0},           {0.999, 0},        {-1.5, -1},       {2147483646.999, kMax - 1},
                 {2147483647.0, kMax},  {1e300, kMax},     {INFINITY, kMax}, {-2147483647.5, kMin + 1},
                 {-2147483648.5, kMin}, {-INFINITY, kMin}, {std::nan(""), 0}};
    for (const auto& c : cases) EXPECT_EQ(truncSat32(c.value), c.expected) << c.value;
    EXPECT_EQ(wrapAdd(kMax, 1), kMin);
    EXPECT_EQ(wrapSub(kMin, 1), kMax);
    EXPECT_EQ(wrapMul(65537, 65537), 131073);
    EXPECT_EQ(wrapAbs(kMin), kMin);
    for (const auto& [width, pitch] : {std::pair{0, 0}, {1, 128}, {128, 128}, {129, 256}, {-129, -128}, {kMax, kMin}}) {
        EXPECT_EQ(stride128(width), pitch) << width;
    }
}

TEST(Clock, Durations) {
    const struct {
        int64_t start, end;
        long whole;
        double fraction;
    } cases[] = {
        {1700000000000000, 1700000000001999, 1, 1.999},
        // A clock set back: truncated toward zero, and cut to 32 bits without a sign.
        {1700000000001999, 1700000000000000, -1, 4294965.297},
        {0, 0x100000000 + 1500, 4294968, 1.5},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(elapsedMilliseconds(c.start, c.end), c.whole);
        EXPECT_DOUBLE_EQ(elapsedMillisecondsFraction(c.start, c.end), c.fraction);
    }
}

TEST(Version, Banners) {
    LogVersion();
    LogPostProcessVersion();
    // Date as "Mmm dd yyyy", time as "hh:mm:ss".
    EXPECT_TRUE(test::logWas(
        {"info MFNR AP Version : __LOG-Zentrix Video 5.2.VVEIS3.B010__* * 20*__*:*:*__\n",
         "info tqlmr: Marquette PostProcess Version : __LOG-Zentrix Video 5.2.VVEIS3.B010__* * 20*__*:*:*__\n"}));
}

}  // namespace
}  // namespace eis
