// The digest was computed apart from this code.
#include <vector>

#include "highLevel/src/lifting53.h"
#include "tests/harness/kernel_cases.h"

namespace eis::test {
namespace {

using Samples = std::vector<int16_t>;

// Samples as luma has them, and any.
KernelCase::Filled<int16_t> workPlane(const KernelCase& c) {
    const bool any = c.seed % 3 == 0;
    return c.filled<int16_t>(c.width, c.height, c.pitch(), 0, any ? -32768 : 0, any ? 32767 : 255);
}

TEST(Lifting, FormsAgreeAndTheInverseRestores) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const auto original = workPlane(c);
        const auto plain = workPlane(c);
        const auto vectors = workPlane(c);
        const auto tmp = c.empty<int16_t>(c.width, c.height, c.width);
        Lifting53Forward_plain(plain.data(), c.width, c.height, c.pitch(), tmp.data());
        Lifting53Forward(vectors.data(), c.width, c.height, c.pitch(), tmp.data());
        EXPECT_TRUE(agree(plain, vectors));
        all.add(c, plain);
        Lifting53Inverse_plain(plain.data(), c.width, c.height, c.pitch(), tmp.data());
        Lifting53Inverse(vectors.data(), c.width, c.height, c.pitch(), tmp.data());
        EXPECT_TRUE(agree(original, plain));
        EXPECT_TRUE(agree(original, vectors));
        EXPECT_TRUE(tmp.paddingIntact());
    });
    EXPECT_EQ(all.value(), 0x92ef3f6c3e789044u);
}

TEST(Lifting, LinesOfOnePairStay) {
    Samples tmp(100);
    for (const int size : {0, 1, 2, 3}) {
        Samples plane(100, 7);
        plane[0] = 0;
        const Samples before = plane;
        Lifting53Forward(plane.data(), size, 10, 10, tmp.data());
        Lifting53Forward(plane.data(), 10, size, 10, tmp.data());
        Lifting53Inverse(plane.data(), size, 10, 10, tmp.data());
        Lifting53Inverse(plane.data(), 10, size, 10, tmp.data());
        EXPECT_EQ(plane, before);
    }
}

}  // namespace
}  // namespace eis::test
