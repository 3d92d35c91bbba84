// The eigensolver and the homography fit.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <string>

#include "libCore/core/source/registration/homography.h"
#include "libCore/core/source/registration/jacobi_eigen9.h"
#include "tests/harness/planes.h"
#include "tests/registration/pairs.h"

namespace eis::test {
namespace {

constexpr int kEnough = 30;

// Products of random rows, as the fit makes them, from well conditioned to nearly singular; and which of equal elements
// is rotated away first, which shows in the vectors of a value that stands more than once.
TEST(JacobiEigen9, SolvesToSinglePrecision) {
    Random random(11);
    uint64_t all = 0;
    for (const int rows : {0, 8, 9, 1000}) {
        std::array<float, 81> matrix;
        matrix.fill(rows == 0 ? 1 : 0);
        for (int r = 0; r < rows; ++r) {
            double row[9];
            for (double& element : row) element = random.unit() * 2 - 1;
            for (int i = 0; i < 81; ++i) matrix[i] += static_cast<float>(row[i / 9] * row[i % 9]);
        }
        std::array<float, 9> values;
        std::array<float, 81> vectors;
        std::array<float, 81> work = matrix;
        uint8_t workspace[kJacobiWorkspaceBytes + 1];
        EXPECT_EQ(JacobiEigen9(work.data(), values.data(), vectors.data(), kEnough, workspace + 1), 0);
        EXPECT_TRUE(std::is_sorted(values.begin(), values.end(), std::greater<>())) << rows;
        for (int v = 0; v < 9; ++v) {
            const float* vector = &vectors[9 * v];
            for (int i = 0; i < 9; ++i) {
                const double product = std::inner_product(vector, vector + 9, &matrix[9 * i], 0.0);
                EXPECT_NEAR(product, double{values[v]} * vector[i], 5e-6 * values[0]) << rows << " rows, value " << v;
            }
            EXPECT_NEAR(std::inner_product(vector, vector + 9, vector, 0.0), 1, 5e-6) << rows << " rows, value " << v;
        }
        all = all * 31 + digest(vectors.data(), sizeof vectors);
    }
    EXPECT_EQ(all, 18353872844995201223u);
}

struct Fit {
    explicit Fit(const PairList& list) {
        const size_t bytes = list.ref.size() * sizeof(Point);
        const GuardedMemory ref(bytes, {Placement::kAtEnd, 1});
        const GuardedMemory cur(bytes, {Placement::kAtEnd, 1});
        if (bytes != 0) std::memcpy(ref.data(), list.ref.data(), bytes);
        if (bytes != 0) std::memcpy(cur.data(), list.cur.data(), bytes);
        h.fill(-7);
        uint8_t workspace[kJacobiWorkspaceBytes];
        EXPECT_EQ(CalcHomography(reinterpret_cast<const float*>(ref.data()), reinterpret_cast<const float*>(cur.data()),
                                 static_cast<int>(list.ref.size()), h.data(), kEnough, workspace),
                  0);
    }
    bool isUntouched() const {
        return std::all_of(h.begin(), h.end(), [](float element) { return element == -7; });
    }
    std::array<float, 9> h;
};

TEST(CalcHomography, RecoversExactOnes) {
    const struct {
        const char* name;
        Homography h;
    } cases[] = {
        {"translation", {1, 0, 12.5, 0, 1, -40, 0, 0, 1}},
        {"rotation", {0.99985, -0.01745, 8, 0.01745, 0.99985, -3, 0, 0, 1}},
        {"shrinks", {0.5, 0, 100, 0, 0.5, 50, 0, 0, 1}},
        {"perspective", {1.01, 0.02, -5, -0.015, 0.99, 7, 2e-5, -3e-5, 1}},
    };
    for (const auto& c : cases) {
        Random random(13);
        // The fewest pairs that determine it, spread out, and many.
        PairList corners;
        for (const auto& [x, y] : {std::pair{20, 30}, {600, 15}, {640, 470}, {5, 400}}) {
            corners.add({static_cast<float>(x), static_cast<float>(y)}, project(c.h, x, y));
        }
        for (const PairList& list : {corners, randomPairs(c.h, 300, 640, 480, 0, 0, random)}) {
            const Fit fit(list);
            EXPECT_EQ(fit.h[8], 1);
            const Homography found = {fit.h[0], fit.h[1], fit.h[2], fit.h[3], fit.h[4],
                                      fit.h[5], fit.h[6], fit.h[7], 1};
            for (const auto& [x, y] : {std::pair{0, 0}, {639, 0}, {0, 479}, {639, 479}, {320, 240}}) {
                const Point at = project(found, x, y);
                const Point expected = project(c.h, x, y);
                EXPECT_NEAR(at.x, expected.x, 0.02) << c.name << ", " << list.ref.size() << " pairs";
                EXPECT_NEAR(at.y, expected.y, 0.02) << c.name << ", " << list.ref.size() << " pairs";
            }
        }
    }
}

TEST(CalcHomography, NothingWithoutSpread) {
    PairList none;
    EXPECT_TRUE(Fit(none).isUntouched());
    for (int coordinate = 0; coordinate < 4; ++coordinate) {
        PairList list;
        for (int i = 0; i < 12; ++i) {
            float values[4];
            for (int c = 0; c < 4; ++c)
                values[c] = c == coordinate ? 0.0F : static_cast<float>((i * (c + 3)) % 11 * 40);
            list.add({values[0], values[1]}, {values[2], values[3]});
        }
        EXPECT_TRUE(Fit(list).isUntouched()) << coordinate;
        // The least spread is enough.
        (coordinate < 2 ? list.ref : list.cur)[5] = {2e-6F, 2e-6F};
        EXPECT_FALSE(Fit(list).isUntouched()) << coordinate;
    }
}

}  // namespace
}  // namespace eis::test
