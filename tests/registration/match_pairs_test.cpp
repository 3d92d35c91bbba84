// From a k-nearest-neighbour result to pairs, and the filter of repeated reference points.
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "libCore/core/source/match_pairs.h"
#include "tests/registration/pairs.h"

namespace eis::test {
namespace {

TEST(MatchPairs, BuiltFromTables) {
    const int32_t tables[2][9] = {{64, 128, -1, 100, -32, -1, INT_MAX, 3, -1}, {-64, 32, -1, 7, 9, -1, 5, 16, -1}};
    const int16_t curIndex[] = {1, -1, 0};
    const int16_t refIndex[] = {0, 1, 2};
    const auto build = [&](int32_t coordScale, int32_t matchNum) {
        PairList list;
        for (int i = 0; i < 3; ++i) list.add({-9, -9}, {-9, -9});
        const KnnResult knn{nullptr, curIndex, refIndex, tables[0], tables[1] + 3, matchNum, coordScale};
        BuildMatchPairs(knn, list.pairs());
        return list;
    };
    // The reference table begins at its first row, the current one at its second: a negative index reaches before it.
    const PairList once = build(1, 2);
    EXPECT_EQ(once.ref, (std::vector<Point>{{1, 2}, {1.5625F, -0.5F}, {-9, -9}}));
    EXPECT_EQ(once.cur, (std::vector<Point>{{5 / 64.0F, 16 / 64.0F}, {-1, 0.5F}, {-9, -9}}));
    // Products wrap before they become floats.
    const PairList scaled = build(2, 3);
    EXPECT_EQ(scaled.ref, (std::vector<Point>{{2, 4}, {3.125F, -1}, {-2 / 64.0F, 6 / 64.0F}}));
    EXPECT_EQ(scaled.cur[2], (Point{14 / 64.0F, 18 / 64.0F}));
}

constexpr int kMissing = INT_MAX;

const struct {
    const char* name;
    std::vector<int> refs;  // pairs of one number share their reference point
    std::vector<int> distances;
    float ratio;
    std::vector<int> kept;
} kFilters[] = {
    {"each once", {0, 1, 2}, {10, 20, 30}, 0.8F, {0, 1, 2}},
    {"equally good", {0, 0}, {100, 100}, 0.8F, {}},
    {"clear best first", {0, 0}, {50, 100}, 0.8F, {0}},
    {"clear best last", {0, 0}, {100, 50}, 0.8F, {1}},
    {"best in the middle", {0, 0, 0}, {90, 40, 95}, 0.8F, {1}},
    {"runner-up comes last", {0, 0, 0}, {40, 90, 50}, 0.8F, {}},
    {"better twice", {0, 0, 0}, {90, 80, 30}, 0.8F, {2}},
    {"group keeps its first place", {0, 1, 0, 2}, {90, 5, 40, 6}, 0.8F, {2, 1, 3}},
    {"groups interleave", {0, 1, 0, 1, 2}, {10, 90, 70, 20, 1}, 0.8F, {0, 3, 4}},
    {"ratio 0", {0, 1}, {0, 1}, 0, {}},
    {"at the limit", {0, 0}, {25, 100}, 0.5F, {}},
    {"below the limit", {0, 0}, {24, 100}, 0.5F, {0}},
    {"negative distance", {0, 0}, {-5, 3}, 0.8F, {0}},
    {"missing", {0, 1}, {kMissing, 10}, 0.8F, {1}},
    {"missing, but matched again", {0, 0}, {kMissing, 40}, 0.8F, {1}},
    {"missing twice", {0, 0}, {kMissing, kMissing}, 0.8F, {}},
    // With a ratio above 1 a missing distance passes, with the pair that was chosen before, wherever that stands now.
    {"missing keeps the last choice", {0, 1, 2}, {10, 20, kMissing}, 1.5F, {0, 1, 1}},
    {"missing keeps the choice of a group", {0, 0, 1}, {90, 40, kMissing}, 1.5F, {1, 1}},
    {"missing first", {0, 1}, {kMissing, 10}, 1.5F, {0, 1}},
};

TEST(MatchPairs, FilterOfRepeatedPoints) {
    for (const auto& c : kFilters) {
        PairList list;
        // Numbers 0 and 1, 2 and 3, ... share their x; 0 and 2, 1 and 3, ... their y.
        for (size_t i = 0; i < c.refs.size(); ++i) {
            list.add({static_cast<float>(c.refs[i] >> 1), static_cast<float>(c.refs[i] & 1)},
                     {static_cast<float>(i), 0.5F});
        }
        const std::vector<Point> refs = list.ref;
        std::vector<uint8_t> scratch(kFilterScratchPerPair * c.refs.size(), 0xA5);
        KnnResult knn{};
        knn.pDistance = c.distances.data();
        knn.matchNum = static_cast<int32_t>(c.refs.size());
        ASSERT_EQ(FilterDuplicateMatches(knn, list.pairs(), c.ratio, scratch.data()), c.kept.size()) << c.name;
        for (size_t i = 0; i < c.kept.size(); ++i) {
            EXPECT_EQ(list.cur[i].x, c.kept[i]) << c.name << ", place " << i;
            EXPECT_EQ(list.ref[i], refs[c.kept[i]]) << c.name << ", place " << i;
        }
    }
}

}  // namespace
}  // namespace eis::test
