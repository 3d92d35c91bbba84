// Where the rows of a wavelet sweep wait for each other.
#pragma once

#include <algorithm>
#include <cstdint>

#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/neon/wavelet/wavelet_sweep.h"
#include "libCore/core/source/neon/wavelet/wavelet_transform.h"

namespace eis {

// Rings of rows in one block of memory: the index of a row is its number in the plane.
class WaveletRings {
  public:
    WaveletRings(const WaveletWork& work, int width, int height) : pitch_((width + kGrid - 1) / kGrid * kGrid) {
        int16_t* const start = alignedTo<int16_t>(work.pSamples, kAlignment);
        int16_t* next = start;
        const auto cut = [&](int rows) {
            const Ring ring{next, std::min(rows, std::max(height, 1))};
            next += ring.rows * pitch_;
            return ring;
        };
        int reach = 0;
        for (int level = 1; level <= kWaveletLevels; ++level) {
            const int step = 1 << (level - 1);
            // A row's filter reaches `step` rows to both sides; its detail needs the row that was filtered.
            horizontal_[level] = cut(2 * step + 1);
            low_[level - 1] = cut(step + 1);
            reach += step;
        }
        low_[kWaveletLevels] = cut(1);
        sum_ = cut(reach + 1);
        fit_ = width > 0 && height > 0 && (next - start) + kAlignment / 2 <= work.count;
    }

    // Whether the memory holds them.
    bool fit() const { return fit_; }

    int16_t* horizontal(int level, int y) const { return row(horizontal_[level], y); }
    // Low-passed at a level; the samples themselves at level 0.
    int16_t* low(int level, int y) const { return row(low_[level], y); }
    int16_t* sum(int y) const { return row(sum_, y); }

  private:
    static constexpr int kAlignment = 64;
    static constexpr int kGrid = kAlignment / 2;

    struct Ring {
        int16_t* first;
        int rows;
    };
    int16_t* row(const Ring& ring, int y) const { return ring.first + y % ring.rows * pitch_; }

    int64_t pitch_;
    Ring horizontal_[kWaveletLevels + 1];
    Ring low_[kWaveletLevels + 1];
    Ring sum_;
    bool fit_;
};

}  // namespace eis
