// The estimation's fast forms against their definitions: eigensolver, counting of inliers, filter of repeated points.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <vector>

#include "libCore/core/source/registration/jacobi_eigen9.h"
#include "libCore/core/source/registration/match_pairs.h"
#include "libCore/core/source/registration/reprojection.h"
#include "tests/harness/content.h"
#include "tests/harness/planes.h"
#include "tests/harness/targets.h"
#include "tests/registration/pairs.h"

namespace eis::test {
namespace {

struct Solution {
    explicit Solution(const std::array<float, 81>& from) : matrix(from) {}
    EigenProblem problem(bool wantsVectors) { return {matrix.data(), results, wantsVectors ? results + 9 : nullptr}; }
    bool operator==(const Solution& other) const { return std::memcmp(results, other.results, sizeof results) == 0; }
    std::array<float, 81> matrix;
    float results[90] = {};
};

// Symmetric matrices, from those of a fit to ones that overflow; equal, zero and tiny elements among them. One by one,
// and in batches of every size, in which each takes another number of rotations.
TEST(FitKernels, EigensolverFormsAgree) {
    constexpr int kCount = 400;
    Random random(5);
    const double scales[] = {1, 1e-3, 1e3, 1e-20, 1e-38, 1e10, 2e15, 1e30};
    std::vector<Solution> problems;
    for (int round = 0; round < kCount; ++round) {
        std::array<float, 81> matrix;
        const double scale = scales[round % std::size(scales)];
        const int distinct = round % 3 == 0 ? 2 : round % 5 == 0 ? 3 : 1000;
        for (int i = 0; i < 9; ++i) {
            for (int j = i; j < 9; ++j) {
                const auto value = static_cast<double>(random.in(-distinct, distinct)) / distinct;
                matrix[9 * i + j] = matrix[9 * j + i] = static_cast<float>(value * scale);
            }
        }
        if (round == 7) matrix[3] = matrix[27] = NAN;
        if (round == 14) matrix[3] = matrix[27] = INFINITY;
        if (round % 50 == 21 || round == 28 || round == 35) matrix.fill(0);
        // The first rotation's hypot is next to the middle between two floats: the root of the sum of squares, in
        // double precision, is on its other side.
        if (round == 28) matrix[1] = matrix[9] = 0x1.0001fcp+0F, matrix[10] = 0x1.6a0b4ep-11F;
        if (round == 35) matrix[1] = matrix[9] = 0x1.6a0bb8p-12F, matrix[10] = 0x1.000292p+1F;
        problems.emplace_back(matrix);
    }
    const auto wantsVectors = [](int i) { return i % 11 != 3; };
    uint8_t workspace[kJacobiWorkspaceBytes];
    for (const int iterFactor : {0, 1, 2, 30}) {
        std::vector<Solution> expected = problems;
        for (int i = 0; i < kCount; ++i) {
            const auto [matrix, values, vectors] = expected[i].problem(wantsVectors(i));
            EXPECT_EQ(JacobiEigen9_plain(matrix, values, vectors, iterFactor, workspace), 0);
        }
        forEachTarget([&] {
            std::vector<Solution> single = problems;
            std::vector<Solution> batched = problems;
            for (int i = 0, size = 0; i < kCount; i += size) {
                size = std::min(size % kJacobiBatch + 1, kCount - i);
                EigenProblem batch[kJacobiBatch];
                for (int k = 0; k < size; ++k) {
                    batch[k] = batched[i + k].problem(wantsVectors(i + k));
                    const auto [matrix, values, vectors] = single[i + k].problem(wantsVectors(i + k));
                    EXPECT_EQ(JacobiEigen9(matrix, values, vectors, iterFactor, workspace), 0);
                }
                JacobiEigen9Batch(batch, size, iterFactor, workspace);
            }
            for (int i = 0; i < kCount; ++i) {
                EXPECT_EQ(single[i], expected[i]) << i << ", " << iterFactor;
                EXPECT_EQ(batched[i], expected[i]) << i << ", " << iterFactor;
            }
        });
    }
}

// Every block's end, thresholds that an error meets exactly, and giving up.
TEST(FitKernels, CountsInliers) {
    Random random(6);
    const float homography[9] = {1.01F, 0.02F, 3, -0.02F, 0.99F, -2, 1e-5F, 2e-5F, 1};
    for (const int count : {1, 7, 127, 128, 129, 300, 1000}) {
        std::vector<float> columns[4];
        for (auto& column : columns) {
            for (int i = 0; i < count; ++i) column.push_back(static_cast<float>(random.unit() * 40));
        }
        const PairColumns pairs{columns[0].data(), columns[1].data(), columns[2].data(), columns[3].data(), count};
        std::vector<float> expected(count);
        std::vector<uint8_t> expectedMask(count);
        ReprojectionInliers_plain(pairs, homography, 1, 0, expected.data(), expectedMask.data());
        const float threshold = expected[count / 2];
        const int inliers =
            ReprojectionInliers_plain(pairs, homography, threshold, 0, expected.data(), expectedMask.data());
        forEachTarget([&] {
            std::vector<float> errors(count);
            const GuardedMemory mask(count, {});
            for (const int needed : {0, inliers}) {
                ASSERT_EQ(ReprojectionInliers(pairs, homography, threshold, needed, errors.data(), mask.data()),
                          inliers);
                EXPECT_EQ(errors, expected);
                EXPECT_EQ(std::memcmp(mask.data(), expectedMask.data(), count), 0);
            }
            EXPECT_LE(ReprojectionInliers(pairs, homography, threshold, inliers + 1, errors.data(), mask.data()),
                      inliers);
        });
        EXPECT_LE(
            ReprojectionInliers_plain(pairs, homography, threshold, inliers + 1, expected.data(), expectedMask.data()),
            inliers);
    }
}

// Lists with many repeated points, against a walk over all pairs.
TEST(FitKernels, FilterWalksWholeGroups) {
    Random random(7);
    for (const int count : {1, 2, 3, 64, 500}) {
        for (const int points : {1, 3, count}) {
            PairList list;
            std::vector<int32_t> distances;
            for (int i = 0; i < count; ++i) {
                const auto at = static_cast<float>(random.in(0, points));
                list.add({at, at == 1 ? -0.0F : 0.0F}, {static_cast<float>(i), 0});
                if (at == 1 && i % 2 == 0) list.ref.back().y = 0.0F;
                distances.push_back(static_cast<int32_t>(random.in(0, 50)));
            }
            std::vector<float> kept;
            for (int i = 0; i < count; ++i) {
                bool first = true;
                int best = i;
                int second = INT32_MAX;
                for (int j = 0; j < count; ++j) {
                    if (j == i || list.ref[j].x != list.ref[i].x) continue;
                    first = first && j > i;
                    if (j < i) continue;
                    second = std::min(second, std::max(distances[best], distances[j]));
                    if (distances[j] < distances[best]) best = j;
                }
                if (first && distances[best] < static_cast<float>(second) * (0.8F * 0.8F)) kept.push_back(best);
            }
            const GuardedMemory scratch(kFilterScratchPerPair * count, {Placement::kAtEnd, count % 4});
            const KnnResult knn{distances.data(), nullptr, nullptr, nullptr, nullptr, count, 1};
            ASSERT_EQ(FilterDuplicateMatches(knn, list.pairs(), 0.8F, scratch.data()), kept.size()) << count;
            for (size_t i = 0; i < kept.size(); ++i) EXPECT_EQ(list.cur[i].x, kept[i]) << count << ", " << points;
        }
    }
}

}  // namespace
}  // namespace eis::test
