// The six curves at every strength. The digests were computed apart from this code, in exact rational arithmetic with
// pow and log rounded correctly from 60 decimal digits.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

#include "libCore/core/source/control/control_curves.h"
#include "libCore/core/source/control/curve_powers.h"
#include "libCore/core/source/control/shrink_lut.h"
#include "tests/harness/content.h"
#include "tests/harness/targets.h"

namespace {

// What another C library would answer: results move away from zero by so many units in their last place.
struct Shift {
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

struct Curve {
    const char* name;
    void (*build)(int16_t* dest, int32_t strength);
    void (*plain)(int16_t* dest, int32_t strength);
    int entries;
    int maxStrength;  // the last one whose logarithm exists
    // Of the tables of strengths 0 to the last one; -64 to -1, with powers beyond 32 and 16 bits; the forty beyond.
    uint64_t valid, negative, beyond;

    uint64_t digestOf(int32_t first, int32_t last, bool isPlain) const {
        std::vector<int16_t> all;
        for (int32_t strength = first; strength <= last; ++strength) {
            // A builder clears more than some tables hold.
            std::vector<int16_t> table(1024, 0x5a5a);
            (isPlain ? plain : build)(table.data(), strength);
            all.insert(all.end(), table.begin(), table.begin() + entries);
        }
        return digest(all.data(), 2 * all.size());
    }
};

constexpr Curve kCurves[] = {
    {"luma", BuildLumaCurve, BuildLumaCurve_plain, 241, 510,  //
     0x8358e176110df311, 0x95dd694cca9d4b64, 0x19bcacb1db5ce565},
    {"luma single", BuildLumaCurveSingle, BuildLumaCurveSingle, 241, 510,  //
     0xcbddb6a89e829f95, 0x2273dd3f3318fb36, 0x19bcacb1db5ce565},
    {"chroma", BuildChromaCurve, BuildChromaCurve_plain, 256, 254,  //
     0x204e24a0951bbc25, 0xdb123b319da90429, 0x2de6e18816a06325},
    {"threshold", BuildThresholdCurve, BuildThresholdCurve_plain, 256, 254,  //
     0xb37a50d29fecb369, 0x87999f64d591a62b, 0x2de6e18816a06325},
    {"tail", BuildTailCurve, BuildTailCurve_plain, 256, 254,  //
     0xf2575e7624f33691, 0x5a11e34f6a10f911, 0x2de6e18816a06325},
    {"shrink", BuildShrinkLut, BuildShrinkLut, 1024, 510,  //
     0x6aea6c127a4cdbc6, 0xfdfb7b6ab098beaf, 0xb123583302036325},
};

TEST(Curves, SweepsOfEveryStrengthAreExact) {
    for (const Curve& curve : kCurves) {
        SCOPED_TRACE(curve.name);
        const auto check = [&](bool plain) {
            EXPECT_EQ(curve.digestOf(0, curve.maxStrength, plain), curve.valid);
            EXPECT_EQ(curve.digestOf(-64, -1, plain), curve.negative);
            EXPECT_EQ(curve.digestOf(curve.maxStrength + 1, curve.maxStrength + 40, plain), curve.beyond);
        };
        check(true);
        forEachTarget([&] { check(false); });
    }
}

// pow and log are the two calls whose last bits differ between C libraries. Both forms are asked: the one that ships
// asks pow only where an entry is near another.
TEST(Curves, OneUlpChangesNothing) {
    for (const Curve& curve : kCurves) {
        for (const Shift& shift : {Shift{true}, Shift{false}, Shift{true, true}}) {
            for (const int sign : {1, -1}) {
                g_shift = shift;
                g_shift.by = sign;
                const uint64_t plain = curve.digestOf(0, curve.maxStrength, true);
                const uint64_t ours = curve.digestOf(0, curve.maxStrength, false);
                g_shift = {};
                EXPECT_EQ(plain, curve.valid) << curve.name << ", " << sign;
                EXPECT_EQ(ours, curve.valid) << curve.name << ", " << sign;
            }
        }
    }
}

// Of bases from 1 downward, as the curves have them.
TEST(Curves, PowersAreWithinTheirError) {
    for (const int count : {8, 9, 128, 241}) {
        std::vector<double> logs(count);
        for (int k = 0; k < count; ++k) logs[k] = std::log1p(-k / 256.0);
        for (const double exponent : {1e-3, 0.7, 4.0, 123.4, 2000.0}) {
            std::vector<double> expected(count), actual(count);
            CurvePowers_plain(logs.data(), count, exponent, expected.data());
            forEachTarget([&] {
                CurvePowers(logs.data(), count, exponent, actual.data());
                for (int k = 0; k < count; ++k) EXPECT_NEAR(actual[k], expected[k], 1e-11 * expected[k] + 1e-28);
            });
        }
    }
}

}  // namespace

}  // namespace eis::test
