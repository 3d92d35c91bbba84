// Robust estimation, and the kernel that measures its errors.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <string>

#include "libCore/core/source/registration/ransac_estimation.h"
#include "libCore/core/source/registration/reprojection.h"
#include "tests/harness/planes.h"
#include "tests/harness/targets.h"
#include "tests/registration/pairs.h"

namespace eis::test {
namespace {

constexpr Homography kShake = {0.9998, -0.0087, 14.5, 0.0087, 0.9998, -9.25, 4e-6, -6e-6, 1};
constexpr RansacParams kParams{150, 15.0F, 0.9995F};

// A run on copies of the pairs, which stand at odd addresses at the ends of their blocks.
struct Estimate {
    explicit Estimate(const PairList& list, RansacParams params = kParams,
                      decltype(RansacEstimation)* run = RansacEstimation) {
        const size_t n = list.ref.size();
        const GuardedMemory ref(n * sizeof(Point), {Placement::kAtEnd, 1});
        const GuardedMemory cur(n * sizeof(Point), {Placement::kAtEnd, 1});
        const GuardedMemory scratch(static_cast<size_t>(kRansacScratchPerPair) * n);
        std::memcpy(ref.data(), list.ref.data(), ref.size());
        std::memcpy(cur.data(), list.cur.data(), cur.size());
        ST_MATCH_PAIRS pairs{reinterpret_cast<float*>(ref.data()), reinterpret_cast<float*>(cur.data()),
                             static_cast<int32_t>(n)};
        status = run(&pairs, h.data(), &params, scratch.data());
        count = pairs.pointNum;
        for (size_t i = 0; i < n; ++i) left.add(loadPoint(pairs.pRefPoints, i), loadPoint(pairs.pCurPoints, i));
    }

    bool accepted() const { return h[8] == 1; }
    bool isUntouched(const PairList& list) const {
        return status == -1 && !accepted() && count == static_cast<int32_t>(list.ref.size()) && left.ref == list.ref &&
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

// Every draw, gate and tie-break shows in what is kept of noise at the bound; a list without a wrong pair ends the
// search, many inliers cut its iterations, certainty does not; a far shift spreads a cluster. A model takes five
// inliers: four of it are what any four pairs are.
TEST(Ransac, SameChoiceOnEveryTarget) {
    Random random(22);
    constexpr Homography kAnywhere = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    PairList cluster;
    for (int i = 0; i < 20; ++i) {
        const Point ref{static_cast<float>(i % 5 * 25), static_cast<float>(i * i % 7 * 15)};
        cluster.add(ref, {ref.x + 500, ref.y});
    }
    PairList five;
    for (const auto& [x, y] : {std::pair{0, 0}, {900, 40}, {930, 700}, {20, 660}, {480, 300}}) {
        five.add({static_cast<float>(x), static_cast<float>(y)}, project(kShake, x, y));
    }
    PairList four = five;
    four.cur[4] = {200, 100};
    Random other(26);
    // The least distance between two; and three as much on a line as they may be, with another one in the middle.
    const PairList nearest{{{0, 0}, {100, 100}, {200, 0}, {100, -100}}, {{0, 0}, {100, 100}, {200, 0}, {100, -100}}};
    const PairList aligned{{{0, 0}, {300, 7}, {614, 14}, {300, 600}},
                           {{0, 3000}, {614, 3014}, {300, 3007}, {300, 3600}}};
    Random seldom(775);
    const PairList rounded = randomPairs(kShake, 40, 1280, 960, 3, 0.3, seldom);
    const PairList some = randomPairs(kShake, 100, 1280, 960, 2, 0.2, other);
    const struct {
        const char* name;
        PairList list;
        RansacParams params;
        int count;
        uint64_t digest;
    } cases[] = {
        {"noise at the bound", randomPairs(kShake, 200, 1280, 960, 4, 0.4, random), kParams, 67, 7055651882087515627u},
        {"all right", randomPairs(kShake, 60, 1280, 960, 0.05, 0, random), kParams, 60, 18135198545985576515u},
        {"some wrong", some, kParams, 72, 845578944453051031u},
        {"some wrong, more iterations", some, {1000, 15.0F, 0.9995F}, 72, 845578944453051031u},
        {"some wrong, certainty", some, {150, 15.0F, 1.0F}, 76, 16174701215013815526u},
        {"cluster", cluster, kParams, 20, 13631156481318147636u},
        {"anywhere", randomPairs(kAnywhere, 9, 1280, 960, 0, 1, random), kParams, 4, 8960718253715832852u},
        {"five of a model", five, kParams, 5, 9762247774117710978u},
        {"four of a model", four, kParams, 4, 3708417880328221459u},
        {"a rounded number of iterations", rounded, kParams, 26, 14150342429668788259u},
        {"as near as samples may be", nearest, kParams, 4, 15390156671301370945u},
        {"as much on a line as samples may be", aligned, kParams, 4, 11859921871994182524u},
        {"the hundredth draw", clusterAndCorners(29, 22, 3), kParams, 29, 1692030653874542203u},
    };
    forEachTarget([&] {
        for (const auto& c : cases) {
            const Estimate estimate(c.list, c.params);
            EXPECT_EQ(estimate.status, 0) << c.name;
            EXPECT_EQ(estimate.count, c.count) << c.name;
            const uint64_t left = digest(estimate.left.cur.data(), c.list.cur.size() * sizeof(Point));
            EXPECT_EQ(left ^ digest(estimate.h.data(), sizeof estimate.h), c.digest) << c.name;
        }
    });
}

// Drawing ahead shows nowhere: not where draws fail in the midst of it, nor where a model ends the search.
TEST(Ransac, AsOneSampleAfterTheOther) {
    Random random(27);
    int outcomes[2][2] = {};  // of status and of whether a model was accepted
    for (int round = 0; round < 300; ++round) {
        const int n = 6 + round % 40;
        PairList list = randomPairs(kShake, n, 1280, 960, round % 3 * 2, 0.1 * (round % 6), random);
        // Most points of some lists are so near to each other that few samples are usable.
        for (int i = 0; round % 2 == 0 && i + 4 < n; ++i) {
            list.ref[i] = {static_cast<float>(i % 8 * 9), static_cast<float>(i * i % 50)};
            list.cur[i] = project(kShake, list.ref[i].x, list.ref[i].y);
        }
        const int maxIters[] = {0, 1, 8, 9, 21, 150};
        const RansacParams params{maxIters[round % 5 + (round % 7 == 0 ? 1 : 0)], 15.0F,
                                  round % 4 == 0 ? 0.5F : 0.9995F};
        const Estimate plain(list, params, RansacEstimation_plain);
        ++outcomes[plain.status == 0 ? 0 : 1][plain.accepted() ? 1 : 0];
        const Estimate ahead(list, params);
        EXPECT_EQ(ahead.status, plain.status) << round;
        EXPECT_EQ(ahead.count, plain.count) << round;
        EXPECT_EQ(std::memcmp(ahead.h.data(), plain.h.data(), sizeof plain.h), 0) << round;
        EXPECT_TRUE(ahead.left.ref == plain.left.ref && ahead.left.cur == plain.left.cur) << round;
    }
    for (const auto& outcome : outcomes) {
        for (const int count : outcome) EXPECT_GT(count, 2);
    }
}

// Lists of which no sample passes the gates.
TEST(Ransac, NoUsableSample) {
    const PairList late = clusterAndCorners(15, 4, 4);
    EXPECT_TRUE(Estimate(late).isUntouched(late)) << "100 draws are granted";
    const struct {
        const char* name;
        int n;
        int ref[4];  // a, b, c, d: point i lies at a + i % 7 * b, c + i * d
        int cur[4];
    } cases[] = {
        {"cluster", 40, {100, 9, 100, 2}, {102, 9, 99, 2}},
        {"one point", 40, {0, 0, 0, 0}, {200, 90, 200, 20}},
        {"one column", 40, {320, 0, 0, 40}, {330, 0, 0, 40}},
        {"cross products of 2^31", 40, {0, 1 << 21, 0, 1024}, {0, 1 << 21, 0, 1024}},
        {"current points on a line", 40, {0, 150, 0, 20}, {2000, 150, 500, 0}},
        {"too few for a sample", 3, {0, 500, 0, 400}, {0, 500, 0, 400}},
    };
    const auto point = [](const int(&line)[4], int i) {
        return Point{static_cast<float>(line[0] + i % 7 * line[1]), static_cast<float>(line[2] + i * line[3])};
    };
    for (const auto& c : cases) {
        PairList list;
        for (int i = 0; i < c.n; ++i) list.add(point(c.ref, i), point(c.cur, i));
        EXPECT_TRUE(Estimate(list).isUntouched(list)) << c.name;
    }
    for (const int32_t n : {0, -1}) {
        ST_MATCH_PAIRS pairs{nullptr, nullptr, n};
        float h[9] = {};
        EXPECT_EQ(RansacEstimation(&pairs, h, &kParams, nullptr), -1);
        EXPECT_EQ(pairs.pointNum, n);
    }
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
            std::vector<uint8_t> mask(n);
            ReprojectionInliers_plain(pairs, h, 1, 0, expected.data(), mask.data());
            forEachTarget([&] {
                const Plane<float> actual(n, 1, n, {Placement::kAtStart});
                ReprojectionInliers(pairs, h, 1, 0, actual.data(), mask.data());
                EXPECT_TRUE(actual.paddingIntact());
                for (int i = 0; i < n; ++i) {
                    const float a = actual.at(i, 0);
                    const float e = expected.at(i, 0);
                    EXPECT_TRUE(a == e || (std::isnan(a) && std::isnan(e)))
                        << n << " pairs, " << i << ": " << a << ", " << e;
                }
            });
        }
    }
}

}  // namespace
}  // namespace eis::test
