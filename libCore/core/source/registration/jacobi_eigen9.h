// Eigenvalues of a symmetric 9 by 9 matrix.
#pragma once

#include <cstddef>

namespace eis {

// Bytes of workspace, whatever the alignment of its start.
inline constexpr size_t kJacobiWorkspaceBytes = 36 * 4 + 3;

// Classical Jacobi rotations (Jacobi 1846; largest off-diagonal element first, found through row and column maxima), in
// single precision, at most 81 * iterFactor of them.
//   matrix        81 floats, row-major, symmetric; destroyed
//   eigenvalues   9 floats, in descending order
//   eigenvectors  81 floats, one vector a row in the order of the values; null when they are not wanted
//   workspace     kJacobiWorkspaceBytes
// Always 0: reaching the bound leaves the state it stands at.
int JacobiEigen9(float* matrix, float* eigenvalues, float* eigenvectors, int iterFactor, void* workspace);
int JacobiEigen9_plain(float* matrix, float* eigenvalues, float* eigenvectors, int iterFactor, void* workspace);

// Several problems together, with the same results in half of the time.
//   problems  count of them, at most kJacobiBatch; their members are as above
struct EigenProblem {
    float* matrix;
    float* eigenvalues;
    float* eigenvectors;
};
inline constexpr int kJacobiBatch = 12;
void JacobiEigen9Batch(const EigenProblem* problems, int count, int iterFactor, void* workspace);

// Its last step: by value, descending; vectors, if not null, with them.
void SortEigenpairs(float* eigenvalues, float* eigenvectors);

}  // namespace eis
