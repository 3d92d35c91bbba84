#include "libCore/core/source/registration/jacobi_eigen9.h"

#include <cmath>
#include <cstdint>
#include <utility>

#include "libCore/core/source/frame/alignment.h"

namespace eis {

namespace {

constexpr int kN = 9;
// Double precision's epsilon on single-precision data: in effect only an element that is zero, or nearly, stops.
constexpr float kEpsilon = 2.220446e-16F;

// The largest off-diagonal magnitude of each row (right of the diagonal) and column (above it), and where it stood when
// it was looked for. A rotation touches elements of other rows and columns too; those entries go stale, by design.
struct Maxima {
    float row[kN];
    float column[kN];
    int32_t columnOfRow[kN];
    int32_t rowOfColumn[kN];
};
static_assert(sizeof(Maxima) == 36 * 4);

float magnitude(const float* matrix, int row, int column) {
    return std::fabs(matrix[row * kN + column]);
}

void findMaxima(const float* matrix, int k, Maxima& maxima) {
    if (k < kN - 1) {
        maxima.columnOfRow[k] = k + 1;
        maxima.row[k] = magnitude(matrix, k, k + 1);
        for (int m = k + 2; m < kN; ++m) {
            if (magnitude(matrix, k, m) > maxima.row[k]) {
                maxima.row[k] = magnitude(matrix, k, m);
                maxima.columnOfRow[k] = m;
            }
        }
    }
    if (k > 0) {
        maxima.rowOfColumn[k] = 0;
        maxima.column[k] = magnitude(matrix, 0, k);
        for (int m = 1; m < k; ++m) {
            if (magnitude(matrix, m, k) > maxima.column[k]) {
                maxima.column[k] = magnitude(matrix, m, k);
                maxima.rowOfColumn[k] = m;
            }
        }
    }
}

// Row and column of the element to rotate away: rows first, a column only when strictly above.
std::pair<int, int> findPivot(const Maxima& maxima) {
    float best = maxima.row[0];
    std::pair<int, int> pivot{0, maxima.columnOfRow[0]};
    for (int i = 1; i < kN - 1; ++i) {
        if (maxima.row[i] > best) {
            best = maxima.row[i];
            pivot = {i, maxima.columnOfRow[i]};
        }
    }
    for (int i = 1; i < kN; ++i) {
        if (maxima.column[i] > best) {
            best = maxima.column[i];
            pivot = {maxima.rowOfColumn[i], i};
        }
    }
    return pivot;
}

// Widened, so that no square overflows; cut to single precision at once.
float hypotSingle(float a, float b) {
    return static_cast<float>(std::hypot(static_cast<double>(a), static_cast<double>(b)));
}

struct Rotation {
    float cosine;
    float sine;

    void apply(float& a, float& b) const {
        const float turnedA = a * cosine - b * sine;
        const float turnedB = a * sine + b * cosine;
        a = turnedA;
        b = turnedB;
    }
};

// Zeroes element (k, l), k < l, of the upper triangle.
void rotateAway(float* matrix, float* eigenvalues, float* eigenvectors, int k, int l) {
    const float p = matrix[k * kN + l];
    const float y = (eigenvalues[l] - eigenvalues[k]) * 0.5F;
    float t = std::fabs(y) + hypotSingle(p, y);
    float s = hypotSingle(p, t);
    const float c = t / s;
    s = p / s;
    t = (p / t) * p;
    if (y < 0) {
        s = -s;
        t = -t;
    }
    matrix[k * kN + l] = 0;
    eigenvalues[k] -= t;
    eigenvalues[l] += t;

    const Rotation rotation{c, s};
    for (int m = 0; m < k; ++m) rotation.apply(matrix[m * kN + k], matrix[m * kN + l]);
    for (int m = k + 1; m < l; ++m) rotation.apply(matrix[k * kN + m], matrix[m * kN + l]);
    for (int m = l + 1; m < kN; ++m) rotation.apply(matrix[k * kN + m], matrix[l * kN + m]);
    if (eigenvectors == nullptr) return;
    for (int m = 0; m < kN; ++m) rotation.apply(eigenvectors[k * kN + m], eigenvectors[l * kN + m]);
}

}  // namespace

void SortEigenpairs(float* eigenvalues, float* eigenvectors) {
    for (int k = 0; k < kN - 1; ++k) {
        int largest = k;
        for (int i = k + 1; i < kN; ++i) {
            if (eigenvalues[i] > eigenvalues[largest]) largest = i;
        }
        if (largest == k) continue;
        std::swap(eigenvalues[k], eigenvalues[largest]);
        if (eigenvectors == nullptr) continue;
        for (int m = 0; m < kN; ++m) std::swap(eigenvectors[k * kN + m], eigenvectors[largest * kN + m]);
    }
}

int JacobiEigen9_plain(float* matrix, float* eigenvalues, float* eigenvectors, int iterFactor, void* workspace) {
    auto& maxima = *alignedTo<Maxima>(workspace, alignof(Maxima));
    for (int k = 0; k < kN; ++k) {
        eigenvalues[k] = matrix[k * kN + k];
        findMaxima(matrix, k, maxima);
        if (eigenvectors == nullptr) continue;
        for (int m = 0; m < kN; ++m) eigenvectors[k * kN + m] = k == m ? 1.0F : 0.0F;
    }
    for (int64_t i = 0; i < int64_t{81} * iterFactor; ++i) {
        const auto [k, l] = findPivot(maxima);
        if (magnitude(matrix, k, l) <= kEpsilon) break;
        rotateAway(matrix, eigenvalues, eigenvectors, k, l);
        findMaxima(matrix, k, maxima);
        findMaxima(matrix, l, maxima);
    }
    SortEigenpairs(eigenvalues, eigenvectors);
    return 0;
}

}  // namespace eis
