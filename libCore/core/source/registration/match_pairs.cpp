#include "libCore/core/source/registration/match_pairs.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/frame/arithmetic.h"

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

// Chains of the pairs whose reference points have one hash, each in the order of the list.
class HashChains {
  public:
    // memory: eight bytes a pair, 4-byte aligned.
    HashChains(const ST_MATCH_PAIRS& pairs, int32_t count, int32_t* memory)
        : next_(memory), heads_(memory + count), bits_(std::bit_width(static_cast<uint32_t>(count)) - 1) {
        std::fill_n(heads_, int64_t{1} << bits_, kEnd);
        for (int32_t i = count - 1; i >= 0; --i) {
            int32_t& head = heads_[slot(loadPoint(pairs.pRefPoints, i))];
            next_[i] = head;
            head = i;
        }
    }

    static constexpr int32_t kEnd = -1;
    int32_t after(int32_t i) const { return next_[i]; }

  private:
    // Multiplicative hashing; adding 0 makes both zeros one.
    uint32_t slot(Point point) const {
        const auto x = std::bit_cast<uint32_t>(point.x + 0.0F);
        const auto y = std::bit_cast<uint32_t>(point.y + 0.0F);
        const uint64_t mixed = (uint64_t{x} << 32 | y) * 0x9E3779B97F4A7C15U;
        return static_cast<uint32_t>(mixed >> 32 >> (32 - bits_));
    }

    int32_t* next_;
    int32_t* heads_;
    int bits_;  // at most one head a pair
};

}  // namespace

void BuildMatchPairs(const KnnResult& knn, const ST_MATCH_PAIRS& pairs) {
    for (int32_t i = 0; i < knn.matchNum; ++i) {
        const auto refRow = loadElement<int16_t>(knn.pRefIndex, i);
        const auto curRow = loadElement<int16_t>(knn.pCurIndex, i);
        storePoint(pairs.pRefPoints, i, keypointInPixels(knn.pRefKeypoints, refRow, knn.coordScale));
        storePoint(pairs.pCurPoints, i, keypointInPixels(knn.pCurKeypoints, curRow, knn.coordScale));
    }
}

int32_t FilterDuplicateMatches(const KnnResult& knn, const ST_MATCH_PAIRS& pairs, float ratio, void* scratch) {
    if (knn.matchNum < 1) return 0;
    auto* mask = static_cast<uint8_t*>(scratch);
    std::memset(mask, 0, knn.matchNum);
    const HashChains chains(pairs, knn.matchNum, alignedTo<int32_t>(mask + knn.matchNum, alignof(int32_t)));
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
        for (int32_t j = chains.after(i); j != HashChains::kEnd; j = chains.after(j)) {
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
