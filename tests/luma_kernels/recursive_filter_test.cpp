// The digests and table entries were computed apart from this code.
#include "highLevel/src/recursive_filter.h"

#include <vector>

#include "tests/harness/kernel_cases.h"

namespace eis::test {
namespace {

struct Tables {
    int16_t follow[kRecursiveLutEntries];
    int16_t restore[kRecursiveLutEntries];
};

Tables built(int strength, int mix) {
    Tables tables;
    BuildRecursiveLut(tables.follow, static_cast<int16_t>(strength), mix);
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

// As of bands whose overlaps leave none.
TEST(RecursiveFilter, NoRows) {
    const Plane<int16_t> plane(50, 20);
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
}

}  // namespace
}  // namespace eis::test
