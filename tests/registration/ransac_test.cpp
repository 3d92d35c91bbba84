// Robust estimation, and the kernel that measures its errors.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <string>

#include "libCore/core/source/neon/reprojection.h"
#include "libCore/core/source/ransac_estimation.h"
#include "tests/harness/planes.h"
#include "tests/harness/targets.h"
#include "tests/registration/pairs.h"

namespace eis::test {
namespace {

constexpr Homography kShake = {0.9998, -0.0087, 14.5, 0.0087, 0.9998, -9.25, 4e-6, -6e-6, 1};
constexpr RansacParams kParams{150, 15.0F, 0.9995F};

// A run on copies of the pairs, which stand at odd addresses at the ends of their blocks.
struct Estimate {
    explicit Estimate(const PairList& list, RansacParams params = kParams) {
        const size_t n = list.ref.size();
        const GuardedMemory ref(n * sizeof(Point), {Placement::kAtEnd, 1});
        const GuardedMemory cur(n * sizeof(Point), {Placement::kAtEnd, 1});
        const GuardedMemory scratch(static_cast<size_t>(kRansacScratchPerPair) * n);
        std::memcpy(ref.data(), list.ref.data(), ref.size());
        std::memcpy(cur.data(), list.cur.data(), cur.size());
        ST_MATCH_PAIRS pairs{reinterpret_cast<float*>(ref.data()), reinterpret_cast<float*>(cur.data()),
                             static_cast<int32_t>(n)};
        status = RansacEstimation(&pairs, h.data(), &params, scratch.data());
        count = pairs.pointNum;
        for (size_t i = 0; i < n; ++i) left.add(loadPoint(pairs.pRefPoints, i), loadPoint(pairs.pCurPoints, i));
    }

    bool accepted() const { return h[8] == 1; }
    bool isUntouched(const PairList& list) const {
        return !accepted() && count == static_cast<int32_t>(list.ref.size()) && left.ref == list.ref &&
               left.cur == list.cur;
    }

    int status;
    int count;
    std::array<float, 9> h = {-7, -7, -7, -7, -7, -7, -7, -7, -7};
    PairList left;
};

TEST(Ransac, KeepsTheInliersInOrder) {
    for (const double outliers : {0.0, 0.3, 0.5}) {
        Random random(21);
        const PairList list = randomPairs(kShake, 120, 1280, 960, 0.25, outliers, random);
        PairList expected;
        for (size_t i = 0; i < list.ref.size(); ++i) {
            const Point at = project(kShake, list.ref[i].x, list.ref[i].y);
            if (std::hypot(at.x - list.cur[i].x, at.y - list.cur[i].y) < 4) expected.add(list.ref[i], list.cur[i]);
        }
        const Estimate estimate(list);
        EXPECT_EQ(estimate.status, 0);
        EXPECT_TRUE(estimate.accepted());
        EXPECT_EQ(estimate.count, expected.ref.size());
        // Behind the kept ones the arrays are left as they were.
        for (size_t i = expected.ref.size(); i < list.ref.size(); ++i) expected.add(list.ref[i], list.cur[i]);
        EXPECT_TRUE(estimate.left.ref == expected.ref) << outliers;
        EXPECT_TRUE(estimate.left.cur == expected.cur) << outliers;
    }
}

// With noise at the bound, which pairs are kept hangs on every draw, gate and tie-break.
TEST(Ransac, SameChoiceOnEveryTarget) {
    Random random(22);
    const PairList list = randomPairs(kShake, 200, 1280, 960, 4, 0.4, random);
    forEachTarget([&] {
        const Estimate estimate(list);
        const Estimate again(list);
        EXPECT_EQ(estimate.h, again.h);
        EXPECT_EQ(estimate.left.cur, again.left.cur);
        EXPECT_EQ(estimate.count, 67);
        EXPECT_EQ(digest(estimate.left.cur.data(), estimate.count * sizeof(Point)), 7674418331357877205u);
    });
}

TEST(Ransac, EndsWhenAllAreInliers) {
    Random random(23);
    PairList list = randomPairs(kShake, 60, 1280, 960, 0.05, 0, random);
    const RansacParams once{1, 15.0F, 0.9995F};
    const Estimate all(list);
    EXPECT_EQ(all.count, 60);
    EXPECT_EQ(all.h, Estimate(list, once).h);
    // With one that is not, the search goes on to a better model.
    list.cur[17].x += 300;
    const Estimate most(list);
    EXPECT_EQ(most.count, 59);
    EXPECT_NE(most.h, Estimate(list, once).h);
}

// A model with many inliers cuts the iterations that are left; one wanted with certainty does not.
TEST(Ransac, IterationsFollowTheInliers) {
    Random random(26);
    const PairList list = randomPairs(kShake, 100, 1280, 960, 2, 0.2, random);
    const std::array<float, 9> adapted = Estimate(list).h;
    EXPECT_EQ(adapted, Estimate(list, {1000, 15.0F, 0.9995F}).h);
    EXPECT_NE(adapted, Estimate(list, {150, 15.0F, 1.0F}).h);
}

// Samples are spread out by the distance from a reference point to another one's partner: a far shift spreads a
// cluster.
TEST(Ransac, DistanceFromReferenceToCurrent) {
    PairList list;
    for (int i = 0; i < 20; ++i) {
        const Point ref{static_cast<float>(i % 5 * 25), static_cast<float>(i * i % 7 * 15)};
        list.add(ref, {ref.x + 500, ref.y});
    }
    EXPECT_EQ(Estimate(list).status, 0);
}

TEST(Ransac, FiveInliersAtLeast) {
    PairList list;
    for (const auto& [x, y] : {std::pair{0, 0}, {900, 40}, {930, 700}, {20, 660}, {480, 300}}) {
        list.add({static_cast<float>(x), static_cast<float>(y)}, project(kShake, x, y));
    }
    const Estimate five(list);
    EXPECT_EQ(five.status, 0);
    EXPECT_EQ(five.count, 5);
    EXPECT_TRUE(five.accepted());
    // Four of a model are what any four pairs are.
    list.cur[4] = {200, 100};
    const Estimate four(list);
    EXPECT_EQ(four.status, 0);
    EXPECT_EQ(four.count, 4);
    EXPECT_FALSE(four.accepted());
}

// One point at each of three far corners, all others so near to each other that a draw cannot hold two of them. How
// many draws it takes to find such a sample is the generator's: 100 are granted.
PairList clusterAndCorners(int n, int first, int step) {
    PairList list;
    for (int i = 0; i < n; ++i) list.add({static_cast<float>(i % 8) * 5, static_cast<float>(i - i % 8)}, {});
    const Point corners[] = {{1000, 0}, {0, 1000}, {1000, 1000}};
    for (int k = 0; k < 3; ++k) list.ref[first + k * step] = corners[k];
    for (int i = 0; i < n; ++i) list.cur[i] = {list.ref[i].x + 3, list.ref[i].y};
    return list;
}

TEST(Ransac, GivesUpAfterAHundredDraws) {
    const Estimate hundredth(clusterAndCorners(29, 22, 3));
    EXPECT_EQ(hundredth.status, 0);
    EXPECT_EQ(hundredth.count, 29);
    const PairList late = clusterAndCorners(15, 4, 4);
    const Estimate tooLate(late);
    EXPECT_EQ(tooLate.status, -1);
    EXPECT_TRUE(tooLate.isUntouched(late));
}

// Lists of which no sample passes the gates.
TEST(Ransac, NoUsableSample) {
    const struct {
        const char* name;
        int n;
        Point (*ref)(int i);
        Point (*cur)(int i);
    } cases[] = {
        {"cluster", 40,
         [](int i) {
             return Point{100.0F + i * 2, 100.0F + i % 7 * 9};
         },
         [](int i) {
             return Point{102.0F + i * 2, 99.0F + i % 7 * 9};
         }},
        {"one point", 40,
         [](int /*i*/) {
             return Point{0, 0};
         },
         [](int i) {
             return Point{200.0F + i * i % 9 * 90, 200.0F + i % 7 * 90};
         }},
        {"one column", 40,
         [](int i) {
             return Point{320, i * 40.0F};
         },
         [](int i) {
             return Point{330, i * 40.0F};
         }},
        {"current points on a line", 40,
         [](int i) {
             return Point{i % 7 * 150.0F, (i - i % 7) * 20.0F};
         },
         [](int i) {
             return Point{2000.0F + i * 30, 500.0F + i * 15};
         }},
        {"too few for a sample", 3,
         [](int i) {
             return Point{i * 500.0F, i * i * 400.0F};
         },
         [](int i) {
             return Point{i * 500.0F, i * i * 400.0F};
         }},
    };
    for (const auto& c : cases) {
        PairList list;
        for (int i = 0; i < c.n; ++i) list.add(c.ref(i), c.cur(i));
        const Estimate estimate(list);
        EXPECT_EQ(estimate.status, -1) << c.name;
        EXPECT_TRUE(estimate.isUntouched(list)) << c.name;
    }
    for (const int32_t n : {0, -1}) {
        ST_MATCH_PAIRS pairs{nullptr, nullptr, n};
        float h[9] = {};
        EXPECT_EQ(RansacEstimation(&pairs, h, &kParams, nullptr), -1);
        EXPECT_EQ(pairs.pointNum, n);
    }
}

TEST(Ransac, NoModelAccepted) {
    PairList list;
    Random random(24);
    constexpr Homography kAnywhere = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    list = randomPairs(kAnywhere, 9, 1280, 960, 0, 1, random);
    const Estimate estimate(list);
    EXPECT_EQ(estimate.status, 0);
    EXPECT_EQ(estimate.count, 4);
    EXPECT_FALSE(estimate.accepted());
}

TEST(Reprojection, FormsAgree) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const float homographies[][9] = {
        {1, 0, 0, 0, 1, 0, 0, 0, 1},
        {0.9998F, -0.0087F, 14.5F, 0.0087F, 0.9998F, -9.25F, 4e-6F, -6e-6F, 1},
        {1.1F, 0.3F, -7, 0.2F, 0.9F, 3, 0.37F, -0.53F, 1},
        {0, 0, 0, 0, 0, 0, 0, 0, 0},
        {1, 0, 0, 0, 1, 0, -1.0F / 64, 0, 1},
        {1e30F, 1, -kInfinity, 0, -1e38F, 0, 0, std::numeric_limits<float>::quiet_NaN(), 1},
    };
    Random random(25);
    for (int n = 0; n <= 2 * 16 + 3; ++n) {
        // Whole numbers, so that some points stand where a denominator is 0; each column ends at a protected page.
        Plane<float> columns[4] = {{n, 1}, {n, 1}, {n, 1}, {n, 1}};
        for (const Plane<float>& column : columns) fill(column, Content::kRandom, random.bits(), 0, 640);
        if (n > 3) columns[0].at(3, 0) = 64;
        const PairColumns pairs{columns[0].data(), columns[1].data(), columns[2].data(), columns[3].data(), n};
        for (const auto& h : homographies) {
            const Plane<float> expected(n, 1);
            ReprojectionErrors_plain(pairs, h, expected.data());
            forEachTarget([&] {
                const Plane<float> actual(n, 1, n, {Placement::kAtStart});
                ReprojectionErrors_neon(pairs, h, actual.data());
                EXPECT_TRUE(actual.paddingIntact());
                for (int i = 0; i < n; ++i) {
                    const float a = actual.at(i, 0);
                    const float e = expected.at(i, 0);
                    EXPECT_TRUE(a == e || (std::isnan(a) && std::isnan(e)))
                        << n << " pairs, " << i << ": " << a << ", " << e;
                }
            });
        }
        // Under the identity the error is the squared distance.
        const Plane<float> errors(n, 1);
        ReprojectionErrors_plain(pairs, homographies[0], errors.data());
        for (int i = 0; i < n; ++i) {
            const float dx = columns[0].at(i, 0) - columns[2].at(i, 0);
            const float dy = columns[1].at(i, 0) - columns[3].at(i, 0);
            EXPECT_EQ(errors.at(i, 0), dx * dx + dy * dy);
        }
    }
}

}  // namespace
}  // namespace eis::test
