// The curves' values. The digests and single entries were computed apart from this code, in exact rational arithmetic
// with pow and log rounded correctly from 60 decimal digits.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tests/control/curve_set.h"
#include "tests/control/digest.h"
#include "tests/control/other_libm.h"

namespace eis::test {

namespace {

struct SweepDigests {
    uint64_t valid;     // 0 to the last strength with a logarithm
    uint64_t negative;  // -64 to -1: powers beyond 32 and 16 bits
    uint64_t beyond;    // forty strengths without a logarithm
};
constexpr SweepDigests kDigests[] = {
    {0x8358e176110df311, 0x95dd694cca9d4b64, 0x19bcacb1db5ce565},
    {0xcbddb6a89e829f95, 0x2273dd3f3318fb36, 0x19bcacb1db5ce565},
    {0x204e24a0951bbc25, 0xdb123b319da90429, 0x2de6e18816a06325},
    {0xb37a50d29fecb369, 0x87999f64d591a62b, 0x2de6e18816a06325},
    {0xf2575e7624f33691, 0x5a11e34f6a10f911, 0x2de6e18816a06325},
    {0x6aea6c127a4cdbc6, 0xfdfb7b6ab098beaf, 0xb123583302036325},
};

void expectDigests() {
    for (size_t i = 0; i < std::size(kCurves); ++i) {
        const Curve& curve = kCurves[i];
        SCOPED_TRACE(curve.name);
        EXPECT_EQ(digest(sweepCurve(curve, 0, curve.maxStrength)), kDigests[i].valid);
        EXPECT_EQ(digest(sweepCurve(curve, -64, -1)), kDigests[i].negative);
        EXPECT_EQ(digest(sweepCurve(curve, curve.maxStrength + 1, curve.maxStrength + 40)), kDigests[i].beyond);
    }
}

TEST(Curves, SweepsOfEveryStrengthAreExact) {
    expectDigests();
}

TEST(Curves, SweepsAreExactWithCorrectlyRoundedPowAndLog) {
    const OtherLibm library = OtherLibm::fromLongDouble();
    expectDigests();
}

struct Sample {
    int curve;
    int strength;
    int input;
    int value;
};

TEST(Curves, SingleEntries) {
    enum { luma, lumaSingle, chroma, threshold, tail, shrink };
    constexpr Sample kSamples[] = {
        {luma, 1, 1, 22},
        {luma, 100, 30, 873},
        {luma, 510, 120, 3788},
        {chroma, 1, 2, 32},
        {chroma, 28, 112, 896},  // 4 * strength keeps a quarter: 112 * 32 / 4
        {chroma, 254, 254, 7566},
        {chroma, 254, 255, 0},
        {threshold, 127, 10, 3},   // on the parabola
        {threshold, 127, 36, 18},  // the peak
        {threshold, 127, 100, 4},
        {threshold, 254, 99, 68},
        {tail, 16, 5, 2},
        {tail, 127, 64, 16},
        {tail, 254, 127, 38},
        {shrink, 64, 64, 48},  // k = strength keeps all but a quarter of k
        {shrink, 128, 128, 96},
        {shrink, 510, 400, 115},
        {shrink, 1, 1, 1},
        // Exponent and base in double or in single precision part ways at these entries alone.
        {luma, 4, 27, 83},
        {lumaSingle, 4, 27, 82},
        {luma, 32, 33, 744},
        {lumaSingle, 32, 33, 745},
        {luma, 32, 50, 941},
        {lumaSingle, 32, 50, 940},
        {luma, 43, 81, 1370},
        {lumaSingle, 43, 81, 1369},
        {luma, 98, 82, 2010},
        {lumaSingle, 98, 82, 2009},
        {luma, 136, 114, 2821},
        {lumaSingle, 136, 114, 2820},
        {luma, 183, 111, 2982},
        {lumaSingle, 183, 111, 2983},
        {luma, 345, 76, 2320},
        {lumaSingle, 345, 76, 2321},
        // A negative strength: huge powers, saturated to 32 bits, cut to 16.
        {luma, -1, 30, -13005},
        {luma, -1, 120, 0},
        {chroma, -1, 30, 26346},
        {chroma, -1, 254, -1},
        {threshold, -60, 120, 10703},
        {tail, -60, 100, -22559},
        {tail, -1, 127, -1},
        {shrink, -1, 400, 401},
        // No logarithm: 0, and for the shrink table nothing removed.
        {luma, 511, 60, 0},
        {chroma, 255, 1, 0},
        {threshold, 255, 64, 0},
        {tail, 255, 1, 0},
        {shrink, 511, 300, 300},
        {shrink, INT32_MAX, 511, 511},
        {chroma, INT32_MIN, 1, 32},
    };
    for (const Sample& sample : kSamples) {
        const Curve& curve = kCurves[sample.curve];
        EXPECT_EQ(buildCurve(curve, sample.strength)[curve.zero + sample.input], sample.value)
            << curve.name << ", strength " << sample.strength << ", input " << sample.input;
    }
}

TEST(Curves, NoStrengthCorrectsNothing) {
    for (const Curve& curve : kCurves) {
        const std::vector<int16_t> table = buildCurve(curve, 0);
        for (int i = 0; i < curve.entries; ++i) {
            const bool ramp = curve.build == BuildShrinkLut && i > 0;
            ASSERT_EQ(table[i], ramp ? i - curve.zero : 0) << curve.name << ", entry " << i;
        }
    }
}

// Odd tables are odd for every strength, saturated ones included; their first entry has no partner and is 0.
TEST(Curves, OddAroundTheCentre) {
    for (const Curve& curve : kCurves) {
        if (curve.zero == 0) continue;
        for (int strength = -64; strength <= curve.maxStrength + 2; ++strength) {
            const std::vector<int16_t> table = buildCurve(curve, strength);
            ASSERT_EQ(table[curve.zero], 0) << curve.name << ", strength " << strength;
            for (int k = 1; k < curve.entries - curve.zero; ++k) {
                ASSERT_EQ(table[curve.zero - k], static_cast<int16_t>(-table[curve.zero + k]))
                    << curve.name << ", strength " << strength << ", input " << k;
            }
            if (curve.entries == 2 * curve.zero) {
                ASSERT_EQ(table[0], 0) << curve.name;
            }
        }
    }
}

TEST(Curves, GainFollowsTheDetailInThreePieces) {
    constexpr struct {
        int32_t detail;
        int32_t gain;
    } kCases[] = {{0, 5000},   {50, 5000},   {-46, 5000},       {-47, 5006},      {-98, 7964},
                  {-99, 8000}, {-500, 8000}, {INT32_MIN, 5000}, {37025580, 5000}, {37025581, 8000}};
    for (const auto& c : kCases) EXPECT_EQ(LumaGainFromDetail(c.detail), c.gain) << c.detail;
}

TEST(Curves, GainRoundsAndKeepsTheCurveOdd) {
    int16_t luma[241] = {};
    int16_t gained[241];
    std::fill(std::begin(gained), std::end(gained), int16_t{-1});
    luma[120 + 1] = 1;       // 8000 + 4096 is 1.48 of 8192
    luma[120 + 2] = -1;      // -8000 + 4096 is -0.48, rounded down
    luma[120 + 3] = 3788;    // 3699.22
    luma[120 + 4] = -32768;  // saturated curves stay within 16 bits
    ApplyLumaGain(luma, 8000, gained);
    constexpr int kExpected[] = {0, 1, -1, 3699, -32000, 0};
    for (int k = 0; k < 6; ++k) {
        EXPECT_EQ(gained[120 + k], kExpected[k]) << k;
        EXPECT_EQ(gained[120 - k], -kExpected[k]) << k;
    }
    EXPECT_EQ(gained[0], 0);
    EXPECT_EQ(gained[240], 0);
}

}  // namespace

}  // namespace eis::test
