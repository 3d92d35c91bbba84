#include "libCore/core/source/match_pairs.h"

#include "libCore/core/source/arithmetic.h"

namespace eis {

namespace {

template <class T>
T loadElement(const void* list, int64_t index) {
    return loadUnaligned<T>(static_cast<const uint8_t*>(list) + index * static_cast<int64_t>(sizeof(T)));
}

Point keypointInPixels(const void* table, int64_t row, int32_t coordScale) {
    const auto pixels = [&](int64_t word) {
        return static_cast<float>(wrapMul(coordScale, loadElement<int32_t>(table, row * 3 + word))) * 0.015625F;
    };
    return {pixels(0), pixels(1)};
}

}  // namespace

void BuildMatchPairs(const KnnResult& knn, const ST_MATCH_PAIRS& pairs) {
    for (int32_t i = 0; i < knn.matchNum; ++i) {
        const auto refRow = loadElement<int16_t>(knn.pRefIndex, i);
        const auto curRow = loadElement<int16_t>(knn.pCurIndex, i);
        storePoint(pairs.pRefPoints, i, keypointInPixels(knn.pRefKeypoints, refRow, knn.coordScale));
        storePoint(pairs.pCurPoints, i, keypointInPixels(knn.pCurKeypoints, curRow, knn.coordScale));
    }
}

int32_t FilterDuplicateMatches(const KnnResult& knn, const ST_MATCH_PAIRS& pairs, float ratio, uint8_t* mask) {
    const float ratioSquared = ratio * ratio;
    int32_t keep = 0;
    // A missing distance leaves the choice of the last visited pair standing; with a ratio above 1 that pair is kept.
    int32_t chosen = 0;
    for (int32_t i = 0; i < knn.matchNum; ++i) {
        if (mask[i] != 0) continue;
        const Point reference = loadPoint(pairs.pRefPoints, i);
        auto best = loadElement<int32_t>(knn.pDistance, i);
        int32_t second = INT32_MAX;
        if (best != INT32_MAX) chosen = i;
        for (int32_t j = i + 1; j < knn.matchNum; ++j) {
            const Point other = loadPoint(pairs.pRefPoints, j);
            if (other.x != reference.x || other.y != reference.y) continue;
            mask[j] = 1;
            const auto distance = loadElement<int32_t>(knn.pDistance, j);
            if (distance >= second) continue;
            second = distance;
            if (best > distance) {
                second = best;
                best = distance;
                chosen = j;
            }
        }
        const float limit = static_cast<float>(second) * ratioSquared;
        // In place: positions at or below i have been read.
        if (static_cast<float>(best) < limit) movePair(pairs, keep++, chosen);
    }
    return keep;
}

}  // namespace eis
