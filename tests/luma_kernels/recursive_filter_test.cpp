// The digests and table entries were computed apart from this code.
#include "highLevel/src/luma/recursive_filter.h"

#include <functional>
#include <vector>

#include "tests/luma_kernels/forms.h"

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

// Both passes by each form, in place; the vectors of every other case from a plane apart.
void compare(const KernelCase& c, const Tables& tables, const Plane<int16_t>& input, CaseDigest* all) {
    const auto plain = c.empty<int16_t>(c.width, c.height, c.pitch());
    const auto vectors = c.empty<int16_t>(c.width, c.height, c.pitch());
    const auto source = c.empty<int16_t>(c.width, c.height, c.width);
    const auto plainLine = c.empty<int32_t>(c.width, 1, c.width);
    const auto vectorLine = c.empty<int32_t>(c.width, 1, c.width);
    copySamples(input, plain);
    copySamples(input, vectors);
    for (const bool backward : {false, true}) {
        const RecursiveFilterArgs plainArgs = argsFor(tables, plainLine.data(), plain, plain);
        const RecursiveFilterArgs vectorArgs =
            argsFor(tables, vectorLine.data(), c.seed % 2 == 0 ? vectors : source, vectors);
        copySamples<int16_t>(plain, source);
        (backward ? RecursiveLLBackward_plain : RecursiveLLForward_plain)(&plainArgs);
        (backward ? RecursiveLLBackward : RecursiveLLForward)(&vectorArgs);
        EXPECT_TRUE(agree(plain, vectors));
        EXPECT_TRUE(agree(plainLine, vectorLine));
    }
    if (all != nullptr) all->add(c, plain);
}

TEST(RecursiveFilter, FormsAgree) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        constexpr int kStrengths[] = {100, 20, 511, 1, 0};
        const auto filled = [&](int low, int high) {
            return c.filled<int16_t>(c.width, c.height, c.pitch(), 0, low, high);
        };
        compare(c, built(kStrengths[c.seed % 5], c.seed % 2 == 0 ? 5000 : 8000), filled(-160, 415), &all);
        compare(c, randomTables(c.seed), filled(-32768, 32767), nullptr);
    });
    EXPECT_EQ(all.value(), 0x8334374cedc50f94u);
}

// Samples of pictures, with some among them that no 16 bits hold in Q7, at and beyond where that begins. Blocks and
// strips of either kind follow each other.
TEST(RecursiveFilter, RowsThatNeedWiderSumsAgree) {
    constexpr int16_t kOutliers[] = {-160, -121, -120, 375, 376, 415};
    forEachTarget([&] {
        Random random(3);
        for (uint64_t seed = 0; seed < 60; ++seed) {
            const auto side = static_cast<int>(random.in(1, 300));
            const KernelCase c{side, static_cast<int>(random.in(1, 150)), Content::kNatural, {}, seed};
            const auto input = c.filled<int16_t>(c.width, c.height, c.pitch(), 0, 0, 255);
            for (int64_t i = random.in(0, 6); i > 0; --i) {
                const auto x = static_cast<int>(random.in(0, c.width - 1));
                const auto y = static_cast<int>(random.in(0, c.height - 1));
                for (int16_t& sample : {std::ref(input.at(x, y)), std::ref(input.at(x, y / 2))}) {
                    sample = kOutliers[random.in(0, 5)];
                }
            }
            compare(c, built(seed % 3 == 0 ? 100 : 20, 5000), input, nullptr);
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
