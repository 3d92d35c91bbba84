// The eigensolver and the homography fit.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <string>

#include "libCore/core/source/homography.h"
#include "libCore/core/source/jacobi_eigen9.h"
#include "tests/harness/planes.h"
#include "tests/registration/pairs.h"

namespace eis::test {
namespace {

constexpr int kEnough = 30;

struct Eigen {
    explicit Eigen(std::array<float, 81> matrix, int iterFactor = kEnough, int misalignment = 0) {
        uint8_t workspace[kJacobiWorkspaceBytes + 3];
        EXPECT_EQ(JacobiEigen9(matrix.data(), values.data(), vectors.data(), iterFactor, workspace + misalignment), 0);
    }
    std::array<float, 9> values;
    std::array<float, 81> vectors;
};

// Products of random rows, as the fit makes them: from well conditioned to nearly singular.
std::array<float, 81> gramMatrix(int rows, Random& random) {
    std::array<float, 81> matrix{};
    for (int r = 0; r < rows; ++r) {
        double row[9];
        for (double& element : row) element = random.unit() * 2 - 1;
        for (int i = 0; i < 81; ++i) matrix[i] += static_cast<float>(row[i / 9] * row[i % 9]);
    }
    return matrix;
}

TEST(JacobiEigen9, SolvesToSinglePrecision) {
    Random random(11);
    for (const int rows : {4, 8, 9, 40, 1000}) {
        const std::array<float, 81> matrix = gramMatrix(rows, random);
        const Eigen eigen(matrix);
        const double tolerance = 5e-6 * eigen.values[0];
        EXPECT_TRUE(std::is_sorted(eigen.values.begin(), eigen.values.end(), std::greater<>())) << rows;
        for (int v = 0; v < 9; ++v) {
            const float* vector = &eigen.vectors[9 * v];
            for (int i = 0; i < 9; ++i) {
                double product = 0;
                for (int j = 0; j < 9; ++j) product += double{matrix[9 * i + j]} * vector[j];
                EXPECT_NEAR(product, double{eigen.values[v]} * vector[i], tolerance) << rows << " rows, value " << v;
            }
            for (int other = 0; other <= v; ++other) {
                const double dot = std::inner_product(vector, vector + 9, &eigen.vectors[9 * other], 0.0);
                EXPECT_NEAR(dot, v == other ? 1 : 0, 5e-6) << rows << " rows, vectors " << v << " and " << other;
            }
        }
    }
}

TEST(JacobiEigen9, SpecialMatrices) {
    // A diagonal one needs no rotation: values sort, and rows of the identity with them.
    std::array<float, 81> diagonal{};
    for (int i = 0; i < 9; ++i) diagonal[10 * i] = static_cast<float>(i * 5 % 9);
    const Eigen sorted(diagonal);
    for (int v = 0; v < 9; ++v) {
        EXPECT_EQ(sorted.values[v], 8 - v);
        for (int i = 0; i < 9; ++i) EXPECT_EQ(sorted.vectors[9 * v + i], i * 5 % 9 == 8 - v ? 1 : 0);
    }
    // Without any iteration the state is the start's, sorted.
    Random random(12);
    const std::array<float, 81> matrix = gramMatrix(9, random);
    const Eigen none(matrix, 0);
    std::array<float, 9> start;
    for (int i = 0; i < 9; ++i) start[i] = matrix[10 * i];
    std::sort(start.begin(), start.end(), std::greater<>());
    EXPECT_EQ(start, none.values);
    // Vectors are optional and the workspace's alignment does not matter.
    const Eigen all(matrix);
    for (int misalignment = 0; misalignment < 4; ++misalignment) {
        const Eigen again(matrix, kEnough, misalignment);
        EXPECT_EQ(again.values, all.values);
        EXPECT_EQ(again.vectors, all.vectors);
    }
    std::array<float, 81> destroyed = matrix;
    std::array<float, 9> values;
    uint8_t workspace[kJacobiWorkspaceBytes];
    EXPECT_EQ(JacobiEigen9(destroyed.data(), values.data(), nullptr, kEnough, workspace), 0);
    EXPECT_EQ(values, all.values);
}

// Which of equal elements is rotated away first shows in the vectors of a value that stands more than once.
TEST(JacobiEigen9, TiesKeepTheFirst) {
    std::array<float, 81> ones;
    ones.fill(1);
    const Eigen eigen(ones);
    EXPECT_EQ(digest(eigen.vectors.data(), sizeof eigen.vectors), 11168446642271205853u);
}

struct Fit {
    explicit Fit(PairList& list, int misalignment = 0) {
        const size_t bytes = list.ref.size() * sizeof(Point);
        const GuardedMemory ref(bytes, {Placement::kAtEnd, misalignment});
        const GuardedMemory cur(bytes, {Placement::kAtEnd, misalignment});
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
        PairList many = randomPairs(c.h, 300, 640, 480, 0, 0, random);
        for (PairList* list : {&corners, &many}) {
            const Fit fit(*list);
            EXPECT_EQ(fit.h[8], 1);
            const Homography found = {fit.h[0], fit.h[1], fit.h[2], fit.h[3], fit.h[4],
                                      fit.h[5], fit.h[6], fit.h[7], 1};
            for (const auto& [x, y] : {std::pair{0, 0}, {639, 0}, {0, 479}, {639, 479}, {320, 240}}) {
                const Point at = project(found, x, y);
                const Point expected = project(c.h, x, y);
                EXPECT_NEAR(at.x, expected.x, 0.02) << c.name << ", " << list->ref.size() << " pairs";
                EXPECT_NEAR(at.y, expected.y, 0.02) << c.name << ", " << list->ref.size() << " pairs";
            }
            EXPECT_EQ(Fit(*list, 1).h, fit.h) << "points at odd addresses";
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
                values[c] = c == coordinate ? 64.0F : static_cast<float>((i * (c + 3)) % 11 * 40);
            list.add({values[0], values[1]}, {values[2], values[3]});
        }
        EXPECT_TRUE(Fit(list).isUntouched()) << coordinate;
        // The least spread is enough.
        (coordinate < 2 ? list.ref : list.cur)[5] = {65, 65};
        EXPECT_FALSE(Fit(list).isUntouched()) << coordinate;
    }
}

}  // namespace
}  // namespace eis::test
