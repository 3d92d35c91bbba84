// The fit behind every homography of the library.
#pragma once

namespace eis {

// Fits the homography that maps reference points to current-frame points: the normalised direct linear transform
// (Hartley 1997), solved as the eigenvector of the smallest eigenvalue, in single precision and in the order of the
// pairs.
//   pRefPoints, pCurPoints  n pairs (x, y), at any alignment
//   homographyOut           nine floats, row-major, the last 1
//   iterFactor, workspace   see JacobiEigen9
// 0, or a status of the eigensolver. Nothing is written for n under 1, nor when a coordinate has no spread.
int CalcHomography(const float* pRefPoints, const float* pCurPoints, int n, float* homographyOut, int iterFactor,
                   void* workspace);

// Several fits of n pairs each, with the same results in a third of the time.
//   fits  count of them, at most kFitBatch
struct HomographyFit {
    const float* pRefPoints;
    const float* pCurPoints;
    float homography[9];
    bool written;  // whether homography was
};
inline constexpr int kFitBatch = 12;
void CalcHomographies(HomographyFit* fits, int count, int n, int iterFactor, void* workspace);

}  // namespace eis
