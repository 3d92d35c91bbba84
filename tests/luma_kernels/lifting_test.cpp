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

TEST(Lifting, PairsOfALine) {
    // d: 20 - (10 + 30) / 2, 27 - (30 + 6) / 2, 1 - 6; s: 10 + 0 / 2, 30 + (0 + 9) / 4, 6 + (9 - 5) / 4.
    const Samples line{10, 20, 30, 27, 6, 1};
    Samples rows;
    for (int y = 0; y < 4; ++y) rows.insert(rows.end(), line.begin(), line.end());
    Samples tmp(24);
    Lifting53Forward(rows.data(), 6, 4, 6, tmp.data());
    EXPECT_EQ(Samples(rows.begin(), rows.begin() + 6), (Samples{10, 32, 7, 0, 9, -5}));
    EXPECT_EQ(Samples(rows.begin() + 6, rows.begin() + 12), (Samples{10, 32, 7, 0, 9, -5}));
    EXPECT_EQ(Samples(rows.begin() + 12, rows.end()), Samples(12, 0));
    // The same down the columns.
    Samples columns;
    for (const int16_t value : line) columns.insert(columns.end(), 4, value);
    Lifting53Forward(columns.data(), 4, 6, 4, tmp.data());
    const int16_t expected[] = {10, 32, 7, 0, 9, -5};
    for (int y = 0; y < 6; ++y) {
        EXPECT_EQ(Samples(&columns[4 * y], &columns[4 * y] + 4), (Samples{expected[y], expected[y], 0, 0})) << y;
    }
    // Halves and quarters are floors, below zero too: d 0 - (5 + 0) / 2, 0; s 5 - 2 / 2, 0 - 2 / 4.
    Samples floors{5, 0, 0, 0, 5, 0, 0, 0, 5, 0, 0, 0, 5, 0, 0, 0};
    Lifting53Forward(floors.data(), 4, 4, 4, tmp.data());
    EXPECT_EQ(Samples(floors.begin(), floors.begin() + 4), (Samples{4, -1, -2, 0}));
}

TEST(Lifting, AConstantHasNoDetail) {
    for (const int16_t value : {-32768, 0, 255, 32767}) {
        Samples plane(10 * 6, value);
        Samples tmp(10 * 6);
        Lifting53Forward(plane.data(), 10, 6, 10, tmp.data());
        for (int i = 0; i < 60; ++i) EXPECT_EQ(plane[i], i / 10 < 3 && i % 10 < 5 ? value : 0) << i;
    }
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
