#include "libCore/core/source/registration/homography.h"

#include <algorithm>
#include <cmath>

#include "libCore/core/source/registration/jacobi_eigen9.h"
#include "libCore/core/source/registration/match_pairs.h"

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

// A fit before and after its eigenproblem.
struct Equations {
    Normalisation ref;
    Normalisation cur;
    float LtL[81];
    float eigenvalues[9];
    float eigenvectors[81];

    // False when there is nothing to fit.
    bool setUp(const float* pRefPoints, const float* pCurPoints, int n) {
        if (n < 1) return false;
        ref = normalise(pRefPoints, n);
        cur = normalise(pCurPoints, n);
        if (!ref.hasSpread || !cur.hasSpread) return false;
        std::fill_n(LtL, 81, 0.0F);
        for (int i = 0; i < n; ++i) {
            accumulate(ref.apply(loadPoint(pRefPoints, i)), cur.apply(loadPoint(pCurPoints, i)), LtL);
        }
        for (int j = 0; j < 9; ++j) {
            for (int k = 0; k < j; ++k) LtL[j * 9 + k] = LtL[k * 9 + j];
        }
        return true;
    }

    void denormalise(float* homographyOut) const {
        const float denormaliseCur[9] = {
            1.0F / cur.scale.x, 0, cur.centre.x, 0, 1.0F / cur.scale.y, cur.centre.y, 0, 0, 1};
        const float normaliseRef[9] = {
            ref.scale.x, 0, -ref.centre.x * ref.scale.x, 0, ref.scale.y, -ref.centre.y * ref.scale.y, 0, 0, 1};
        float left[9];
        float product[9];
        multiply3x3(denormaliseCur, &eigenvectors[8 * 9], left);
        multiply3x3(left, normaliseRef, product);
        for (int i = 0; i < 9; ++i) homographyOut[i] = product[i] / product[8];
    }
};

}  // namespace

int CalcHomography(const float* pRefPoints, const float* pCurPoints, int n, float* homographyOut, int iterFactor,
                   void* workspace) {
    Equations equations;
    if (!equations.setUp(pRefPoints, pCurPoints, n)) return 0;
    const int status =
        JacobiEigen9(equations.LtL, equations.eigenvalues, equations.eigenvectors, iterFactor, workspace);
    if (status != 0) return status;
    equations.denormalise(homographyOut);
    return 0;
}

void CalcHomographies(HomographyFit* fits, int count, int n, int iterFactor, void* workspace) {
    static_assert(kFitBatch <= kJacobiBatch);
    Equations equations[kFitBatch];
    EigenProblem problems[kFitBatch] = {};
    int problemCount = 0;
    for (int i = 0; i < count; ++i) {
        Equations& own = equations[i];
        fits[i].written = own.setUp(fits[i].pRefPoints, fits[i].pCurPoints, n);
        if (fits[i].written) problems[problemCount++] = {own.LtL, own.eigenvalues, own.eigenvectors};
    }
    JacobiEigen9Batch(problems, problemCount, iterFactor, workspace);
    for (int i = 0; i < count; ++i) {
        if (fits[i].written) equations[i].denormalise(fits[i].homography);
    }
}

}  // namespace eis
