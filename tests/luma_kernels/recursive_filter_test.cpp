// The digests and table entries were computed apart from this code.
#include "highLevel/src/luma/recursive_filter.h"

#include <algorithm>
#include <functional>
#include <iterator>
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

// What both passes leave of the input, each in two parts, of which the second may have no rows; in place, or by the
// vectors of every other case from a plane apart. `down` is the table of columns where rows have another one.
Plane<int16_t> filtered(const KernelCase& c, const Tables& tables, const Plane<int16_t>& input, bool plain,
                        const int16_t* down = nullptr) {
    auto plane = c.empty<int16_t>(c.width, c.height, c.pitch());
    const auto apart = c.empty<int16_t>(c.width, c.height, c.width);
    const auto line = c.empty<int32_t>(c.width, 1, c.width);
    copySamples(input, plane);
    for (const bool backward : {false, true}) {
        const auto form = plain ? (backward ? RecursiveLLBackwardPart_plain : RecursiveLLForwardPart_plain)
                                : (backward ? RecursiveLLBackwardPart : RecursiveLLForwardPart);
        copySamples<int16_t>(plane, apart);
        const Plane<int16_t>& from = plain || c.seed % 2 == 0 ? plane : apart;
        const int cut = 1 + static_cast<int>(c.seed % c.height);
        for (const bool opens : {true, false}) {
            const int count = opens ? cut : c.height - cut;
            const int first = backward == opens ? c.height - count : 0;
            const RecursiveFilterArgs args{line.data(),
                                           tables.follow,
                                           down != nullptr ? down : tables.follow,
                                           tables.restore,
                                           from.row(first),
                                           from.pitch(),
                                           plane.row(first),
                                           plane.pitch(),
                                           c.width,
                                           count};
            form(&args, opens);
        }
    }
    EXPECT_TRUE(line.paddingIntact());
    return plane;
}

TEST(RecursiveFilter, FormsAgree) {
    constexpr int kStrengths[] = {100, 20, 511, 1, 0};
    expectFormsAgree(0x8334374cedc50f94u, [&](const KernelCase& c, bool plain) {
        return filtered(c, built(kStrengths[c.seed % 5], c.seed % 2 == 0 ? 5000 : 8000),
                        c.filled<int16_t>(c.width, c.height, c.pitch(), 0, -160, 415), plain);
    });
    expectFormsAgree(7890989744888527128u, [](const KernelCase& c, bool plain) {
        return filtered(c, randomTables(c.seed), c.filled<int16_t>(c.width, c.height, c.pitch(), 0, -32768, 32767),
                        plain);
    });
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
            const Tables tables = built(seed % 3 == 0 ? 100 : 20, 5000);
            EXPECT_TRUE(agree(filtered(c, tables, input, true), filtered(c, tables, input, false)));
        }
    });
}

// The narrow form needs all three tables to be flat enough.
TEST(RecursiveFilter, OneSteepTableAgrees) {
    const Tables steep = randomTables(1);
    forEachTarget([&] {
        for (const int which : {0, 1, 2}) {
            const KernelCase c{200, 24, Content::kNatural, {}, static_cast<uint64_t>(which)};
            const auto input = c.filled<int16_t>(c.width, c.height, c.pitch(), 0, 0, 255);
            Tables tables = built(100, 5000);
            const std::vector<int16_t> flat(std::begin(tables.follow), std::end(tables.follow));
            if (which == 0) std::copy(std::begin(steep.follow), std::end(steep.follow), tables.follow);
            if (which == 2) std::copy(std::begin(steep.restore), std::end(steep.restore), tables.restore);
            const int16_t* const down = which == 1 ? steep.follow : flat.data();
            EXPECT_TRUE(agree(filtered(c, tables, input, true, down), filtered(c, tables, input, false, down)));
        }
    });
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
