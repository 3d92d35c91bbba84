// The digests and table entries were computed apart from this code.
#include "highLevel/src/recursive_filter.h"

#include <algorithm>
#include <vector>

#include "tests/harness/kernel_cases.h"

namespace eis::test {
namespace {

using Samples = std::vector<int16_t>;
using Pass = void (*)(const RecursiveFilterArgs*);

struct Tables {
    int16_t follow[kRecursiveLutEntries];
    int16_t restore[kRecursiveLutEntries];
};

Tables built(int strength, int mix) {
    Tables tables;
    BuildRecursiveLut(tables.follow, static_cast<int16_t>(strength), mix);
    return tables;
}

// Pulls by half of the difference, and never back.
Tables halving() {
    Tables tables{};
    for (int k = -120; k <= 120; ++k) tables.follow[120 + k] = static_cast<int16_t>(16 * k);
    return tables;
}

// Odd, as tables are, and otherwise anything.
Tables randomTables(uint64_t seed) {
    Random random(seed);
    Tables tables{};
    for (int k = 1; k <= 120; ++k) {
        tables.follow[120 + k] = static_cast<int16_t>(random.in(-32767, 32767));
        tables.follow[120 - k] = static_cast<int16_t>(-tables.follow[120 + k]);
        tables.restore[120 + k] = static_cast<int16_t>(random.in(-32767, 32767));
        tables.restore[120 - k] = static_cast<int16_t>(-tables.restore[120 + k]);
    }
    return tables;
}

RecursiveFilterArgs argsFor(const Tables& tables, int32_t* line, const Plane<int16_t>& from, const Plane<int16_t>& to) {
    return {line,         tables.follow, tables.follow, tables.restore, from.data(),
            from.pitch(), to.data(),     to.pitch(),    from.width(),   from.height()};
}

// Both passes in place by each form, and one into a plane apart.
void compare(const KernelCase& c, const Tables& tables, int64_t low, int64_t high, CaseDigest* all) {
    const auto plain = c.filled<int16_t>(c.width, c.height, c.pitch(), 0, low, high);
    const auto vectors = c.filled<int16_t>(c.width, c.height, c.pitch(), 0, low, high);
    const auto source = c.filled<int16_t>(c.width, c.height, c.pitch(), 0, low, high);
    const auto apart = c.empty<int16_t>(c.width, c.height, c.width + 2);
    const auto plainLine = c.empty<int32_t>(c.width, 1, c.width);
    const auto vectorLine = c.empty<int32_t>(c.width, 1, c.width);
    for (const bool backward : {false, true}) {
        source.copyFrom(plain);
        const RecursiveFilterArgs plainArgs = argsFor(tables, plainLine.data(), plain, plain);
        const RecursiveFilterArgs vectorArgs = argsFor(tables, vectorLine.data(), vectors, vectors);
        (backward ? RecursiveLLBackward_plain : RecursiveLLForward_plain)(&plainArgs);
        (backward ? RecursiveLLBackward : RecursiveLLForward)(&vectorArgs);
        EXPECT_TRUE(agree(plain, vectors));
        EXPECT_TRUE(agree(plainLine, vectorLine));
        // Into another plane, where the sample that the pass starts with is left.
        const RecursiveFilterArgs apartArgs = argsFor(tables, vectorLine.data(), source, apart);
        const int x = backward ? c.width - 1 : 0;
        const int y = backward ? c.height - 1 : 0;
        apart.at(x, y) = 12345;
        (backward ? RecursiveLLBackward : RecursiveLLForward)(&apartArgs);
        EXPECT_EQ(apart.at(x, y), 12345);
        apart.at(x, y) = plain.at(x, y);
        EXPECT_TRUE(agree(plain, apart));
    }
    if (all != nullptr) all->add(c, plain);
}

TEST(RecursiveFilter, FormsAgree) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        constexpr int kStrengths[] = {100, 20, 511, 1, 0};
        compare(c, built(kStrengths[c.seed % 5], c.seed % 2 == 0 ? 5000 : 8000), -160, 415, &all);
        compare(c, randomTables(c.seed), -32768, 32767, nullptr);
    });
    EXPECT_EQ(all.value(), 0x8334374cedc50f94u);
}

TEST(RecursiveFilter, WideRowsAgree) {
    const Tables tables = built(100, 5000);
    forEachTarget([&] {
        for (const int width : {1023, 1024, 1025, 2047, 2050}) {
            for (const int height : {1, 4, 6})
                compare({width, height, Content::kNatural, {}, 1}, tables, 0, 255, nullptr);
        }
    });
}

TEST(RecursiveFilter, FollowsAStepByHalves) {
    const Tables tables = halving();
    int32_t line[5];
    const auto run = [&](Pass pass, Samples samples, int width, int height) {
        const RecursiveFilterArgs args{line,  tables.follow,  tables.follow, tables.restore, samples.data(),
                                       width, samples.data(), width,         width,          height};
        pass(&args);
        return samples;
    };
    // Along a row and down a column; 2, 3, 3.5 and 3.75, and a half goes down.
    EXPECT_EQ(run(RecursiveLLForward, {0, 4, 4, 4, 4}, 5, 1), (Samples{0, 2, 3, 3, 4}));
    EXPECT_EQ(run(RecursiveLLForward, {0, 4, 4, 4, 4}, 1, 5), (Samples{0, 2, 3, 3, 4}));
    EXPECT_EQ(run(RecursiveLLBackward, {4, 4, 4, 4, 0}, 5, 1), (Samples{4, 3, 3, 2, 0}));
    EXPECT_EQ(run(RecursiveLLBackward, {4, 4, 4, 4, 0}, 1, 5), (Samples{4, 3, 3, 2, 0}));
    EXPECT_EQ(run(RecursiveLLForward, {0, 1}, 2, 1), (Samples{0, 0}));
    // Along the row first: 4 goes to 2, then half way to the 0 above it.
    EXPECT_EQ(run(RecursiveLLForward, {0, 0, 0, 4}, 2, 2), (Samples{0, 0, 0, 1}));
    // Beyond 30 levels the pull grows no more.
    EXPECT_EQ(run(RecursiveLLForward, {0, 100}, 2, 1), (Samples{0, 85}));
}

TEST(RecursiveFilter, PullsBackTowardTheSample) {
    // 8 is pulled to 4 and put back by a quarter of that; the next sample is pulled to what was not put back.
    Tables tables = halving();
    for (int k = -120; k <= 120; ++k) tables.restore[120 + k] = static_cast<int16_t>(8 * k);
    Samples samples{0, 8, 8};
    int32_t line[3];
    const RecursiveFilterArgs args{
        line, tables.follow, tables.follow, tables.restore, samples.data(), 3, samples.data(), 3, 3, 1};
    RecursiveLLForward(&args);
    EXPECT_EQ(samples, (Samples{0, 5, 6}));
    EXPECT_EQ(line[2], 6 * 128);
}

TEST(RecursiveFilter, ConstantsAndStrengthZeroPass) {
    Plane<int16_t> plane(50, 20);
    int32_t line[50];
    for (const int strength : {0, 100}) {
        const Tables tables = built(strength, 5000);
        const RecursiveFilterArgs args = argsFor(tables, line, plane, plane);
        Plane<int16_t> before(50, 20);
        fill(before, strength == 0 ? Content::kRandom : Content::kHigh, 4, -160, 415);
        plane.copyFrom(before);
        RecursiveLLForward(&args);
        RecursiveLLBackward(&args);
        EXPECT_TRUE(samePlanes(plane, before)) << strength;
    }
    // Bands whose overlaps leave no row.
    const Tables tables = built(100, 5000);
    RecursiveFilterArgs args = argsFor(tables, nullptr, plane, plane);
    args.height = 0;
    RecursiveLLForward(&args);
    RecursiveLLBackward(&args);
}

TEST(RecursiveFilter, TablesOfEveryStrength) {
    for (const int mix : {5000, 8000}) {
        std::vector<Tables> all(512);
        for (int strength = 0; strength < 512; ++strength) all[strength] = built(strength, mix);
        EXPECT_EQ(digest(all.data(), all.size() * sizeof(Tables)),
                  mix == 5000 ? 0x2768a6cc3ec63111u : 0x9e559f2e07a467bcu);
    }
    const Tables tables = built(100, 5000);
    EXPECT_EQ(tables.follow[120], 0);
    EXPECT_EQ(tables.follow[121], 31);
    EXPECT_EQ(tables.follow[119], -31);
    EXPECT_EQ(tables.follow[240], 2612);
    EXPECT_EQ(tables.restore[240], 1594);
}

}  // namespace
}  // namespace eis::test
