// The filter of repeated reference points.
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "libCore/core/source/registration/match_pairs.h"
#include "tests/registration/pairs.h"

namespace eis::test {
namespace {

constexpr int kMissing = INT_MAX;

const struct {
    const char* name;
    std::vector<int> refs;  // pairs of one number share their reference point
    std::vector<int> distances;
    float ratio;
    std::vector<int> kept;
} kFilters[] = {
    {"equally good", {0, 0}, {100, 100}, 0.8F, {}},
    {"the first of two alike", {0, 0}, {100, 100}, 1.5F, {0}},
    {"clear best last", {0, 0}, {100, 50}, 0.8F, {1}},
    {"best in the middle", {0, 0, 0}, {90, 40, 95}, 0.8F, {1}},
    {"runner-up comes last", {0, 0, 0}, {40, 90, 50}, 0.8F, {}},
    {"group keeps its first place", {0, 1, 0, 2}, {90, 5, 40, 6}, 0.8F, {2, 1, 3}},
    {"at the limit", {0, 0}, {25, 100}, 0.5F, {}},
    {"below the limit", {0, 0}, {24, 100}, 0.5F, {0}},
    {"missing", {0, 1}, {kMissing, 10}, 0.8F, {1}},
    {"missing twice", {0, 0}, {kMissing, kMissing}, 0.8F, {}},
    // With a ratio above 1 a missing distance passes, with the pair that was chosen before, wherever that stands now.
    {"missing keeps the last choice", {0, 1, 2}, {10, 20, kMissing}, 1.5F, {0, 1, 1}},
    {"missing keeps the choice of a group", {0, 0, 1}, {90, 40, kMissing}, 1.5F, {1, 1}},
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
