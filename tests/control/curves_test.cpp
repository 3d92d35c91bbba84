// The curves' values. The digests were computed apart from this code, in exact rational arithmetic
// with pow and log rounded correctly from 60 decimal digits.
#include <gtest/gtest.h>

#include "tests/control/curve_set.h"
#include "tests/harness/content.h"
#include "tests/harness/targets.h"

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

TEST(Curves, SweepsOfEveryStrengthAreExact) {
    for (size_t i = 0; i < std::size(kCurves); ++i) {
        const Curve& curve = kCurves[i];
        const auto check = [&](bool plain) {
            const auto sweep = [&](int32_t first, int32_t last) {
                const std::vector<int16_t> all = sweepCurve(curve, first, last, plain);
                return digest(all.data(), 2 * all.size());
            };
            EXPECT_EQ(sweep(0, curve.maxStrength), kDigests[i].valid) << curve.name;
            EXPECT_EQ(sweep(-64, -1), kDigests[i].negative) << curve.name;
            EXPECT_EQ(sweep(curve.maxStrength + 1, curve.maxStrength + 40), kDigests[i].beyond) << curve.name;
        };
        check(true);
        forEachTarget([&] { check(false); });
    }
}

}  // namespace

}  // namespace eis::test
