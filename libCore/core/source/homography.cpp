#include "libCore/core/source/homography.h"

#include <cmath>

#include "libCore/core/source/jacobi_eigen9.h"
#include "libCore/core/source/match_pairs.h"

namespace eis {

namespace {

// Below this sum of absolute deviations a coordinate has no spread.
constexpr float kMinSpread = 1.1920929e-7F;

// Normalisation of one point set: about its centre, to a mean absolute deviation of 1.
struct Normalisation {
    Point centre;
    Point scale;
    bool hasSpread;

    Point apply(Point point) const { return {(point.x - centre.x) * scale.x, (point.y - centre.y) * scale.y}; }
};

Normalisation normalise(const float* points, int n) {
    const float inverse = 1.0F / static_cast<float>(n);
    Point sum{0, 0};
    for (int i = 0; i < n; ++i) {
        const Point point = loadPoint(points, i);
        sum.x += point.x;
        sum.y += point.y;
    }
    const Point centre{sum.x * inverse, sum.y * inverse};
    Point spread{0, 0};
    for (int i = 0; i < n; ++i) {
        const Point point = loadPoint(points, i);
        spread.x += std::fabs(point.x - centre.x);
        spread.y += std::fabs(point.y - centre.y);
    }
    const auto count = static_cast<float>(n);
    return {centre, {count / spread.x, count / spread.y}, !(spread.x < kMinSpread) && !(spread.y < kMinSpread)};
}

// Adds the two equations of one pair to the upper triangle of L'L.
void accumulate(Point ref, Point cur, float* LtL) {
    const float Lx[9] = {ref.x, ref.y, 1, 0, 0, 0, -cur.x * ref.x, -cur.x * ref.y, -cur.x};
    const float Ly[9] = {0, 0, 0, ref.x, ref.y, 1, -cur.y * ref.x, -cur.y * ref.y, -cur.y};
    for (int j = 0; j < 9; ++j) {
        for (int k = j; k < 9; ++k) LtL[j * 9 + k] += Lx[j] * Lx[k] + Ly[j] * Ly[k];
    }
}

void multiply3x3(const float* a, const float* b, float* product) {
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            product[row * 3 + column] =
                a[row * 3] * b[column] + a[row * 3 + 1] * b[3 + column] + a[row * 3 + 2] * b[6 + column];
        }
    }
}

}  // namespace

int CalcHomography(const float* pRefPoints, const float* pCurPoints, int n, float* homographyOut, int iterFactor,
                   void* workspace) {
    if (n < 1) return 0;
    const Normalisation ref = normalise(pRefPoints, n);
    const Normalisation cur = normalise(pCurPoints, n);
    if (!ref.hasSpread || !cur.hasSpread) return 0;

    float LtL[81] = {};
    for (int i = 0; i < n; ++i) {
        accumulate(ref.apply(loadPoint(pRefPoints, i)), cur.apply(loadPoint(pCurPoints, i)), LtL);
    }
    for (int j = 0; j < 9; ++j) {
        for (int k = 0; k < j; ++k) LtL[j * 9 + k] = LtL[k * 9 + j];
    }
    float eigenvalues[9];
    float eigenvectors[81];
    const int status = JacobiEigen9(LtL, eigenvalues, eigenvectors, iterFactor, workspace);
    if (status != 0) return status;

    const float denormaliseCur[9] = {1.0F / cur.scale.x, 0, cur.centre.x, 0, 1.0F / cur.scale.y, cur.centre.y, 0, 0, 1};
    const float normaliseRef[9] = {
        ref.scale.x, 0, -ref.centre.x * ref.scale.x, 0, ref.scale.y, -ref.centre.y * ref.scale.y, 0, 0, 1};
    float left[9];
    float product[9];
    multiply3x3(denormaliseCur, &eigenvectors[8 * 9], left);
    multiply3x3(left, normaliseRef, product);
    for (int i = 0; i < 9; ++i) homographyOut[i] = product[i] / product[8];
    return 0;
}

}  // namespace eis
