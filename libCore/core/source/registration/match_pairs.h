// Match pairs between the reference frame and another one.
#pragma once

#include <cstdint>

#include "libCore/core/source/frame/wire.h"

namespace eis {

struct Point {
    float x;
    float y;
};

// Index-aligned arrays of (x, y) positions in pixels, in shared memory and so at any alignment. Owns nothing.
struct ST_MATCH_PAIRS {
    float* pRefPoints;
    float* pCurPoints;
    int32_t pointNum;
};

inline Point loadPoint(const float* points, int64_t index) {
    return loadUnaligned<Point>(reinterpret_cast<const uint8_t*>(points) + index * 8);
}
inline void storePoint(float* points, int64_t index, Point point) {
    storeUnaligned(reinterpret_cast<uint8_t*>(points) + index * 8, point);
}
// Copies a pair within its arrays, the current-frame point first.
inline void movePair(const ST_MATCH_PAIRS& pairs, int64_t to, int64_t from) {
    storePoint(pairs.pCurPoints, to, loadPoint(pairs.pCurPoints, from));
    storePoint(pairs.pRefPoints, to, loadPoint(pairs.pRefPoints, from));
}

// A k-nearest-neighbour result: lists of matchNum entries, and tables of rows of three signed 32-bit words (x, y, and
// one that is not read). All at any alignment.
struct KnnResult {
    const void* pDistance;  // signed 32-bit, 2147483647 for a missing one
    const void* pCurIndex;  // signed 16-bit
    const void* pRefIndex;  // signed 16-bit
    const void* pRefKeypoints;
    const void* pCurKeypoints;
    int32_t matchNum;
    int32_t coordScale;
};

// Writes the matchNum pairs that the result names: coordinate * coordScale, in wrapping 32 bits, is in 1/64 pixel.
void BuildMatchPairs(const KnnResult& knn, const ST_MATCH_PAIRS& pairs);

// Bytes of scratch for each pair of the filter.
inline constexpr int64_t kFilterScratchPerPair = 16;

// Keeps for each reference point its best match, where its distance is below ratio squared times that of the second
// best (the nearest-neighbour distance ratio test, Lowe 2004); a point that was matched once passes for any sane ratio.
// Kept pairs move to the front, in order; returns their number. scratch: kFilterScratchPerPair * matchNum bytes.
int32_t FilterDuplicateMatches(const KnnResult& knn, const ST_MATCH_PAIRS& pairs, float ratio, void* scratch);

}  // namespace eis
