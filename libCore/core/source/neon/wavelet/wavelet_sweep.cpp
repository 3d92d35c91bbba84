#include "libCore/core/source/neon/wavelet/wavelet_sweep.h"

#include "libCore/core/source/neon/wavelet/q7_convert.h"
#include "libCore/core/source/neon/wavelet/threshold_map.h"
#include "libCore/core/source/neon/wavelet/wavelet_rings.h"

#define HWY_TARGET_INCLUDE "libCore/core/source/neon/wavelet/wavelet_sweep.cpp"
#include "libCore/core/source/frame/vector_unit.h"
#include "libCore/core/source/neon/wavelet/wavelet_rows-inl.h"
#include "libCore/core/source/neon/wavelet/wavelet_shrink-inl.h"

EIS_BEFORE_TARGET();

uint16_t MapMax(const ST_WAVELET_DN_PARAMS& params) {
    const int block = waveletBlockColumns(params.width);
    uint16_t most = 0;
    for (int y = 0; y < params.height; ++y) {
        const uint16_t* map = params.pThresholds + int64_t{y} * params.width;
        for (int x = 0; x < block; ++x) most = map[x] > most ? map[x] : most;
    }
    return most;
}

// One pass.
class Sweep {
  public:
    Sweep(const ST_WAVELET_DN_PARAMS& params, int pass, const WaveletBytes& bytes, const WaveletRings& rings)
        : p_(params), pass_(pass), bytes_(bytes), rings_(rings) {
        const uint16_t mapMax = MapMax(params);
        for (int i = 0; i < kWaveletLevels; ++i) {
            Level& level = levels_[i];
            level.curve = shrinkCurveOf(params, pass, i + 1);
            level.fitsNarrow = FitsNarrow(level.curve, mapMax);
            level.narrow = NarrowCurveOf(level.curve);
        }
    }

    void run() {
        for (int y = 0; y < p_.height; ++y) {
            WidenQ7(bytes_.pSrc + int64_t{y} * p_.width, rings_.low(0, y), p_.width, 1);
            take(1, y);
        }
    }

  private:
    struct Level {
        int next = 0;  // the first row that is not low-passed yet
        ShrinkCurve curve;
        NarrowCurve narrow;
        bool fitsNarrow;
    };

    // Row y of the level before stands; the level goes on to all rows that now have what they need.
    void take(int level, int y) {
        const int step = 1 << (level - 1);
        const bool lastRow = y == p_.height - 1;
        HorizontalRow(rings_.low(level - 1, y), rings_.horizontal(level, y), p_.width, step);
        int& next = levels_[level - 1].next;
        const int end = lastRow ? p_.height : y - step + 1;
        while (next < end) finish(level, next++);
    }

    void finish(int level, int y) {
        const bool wanted = y >= bytes_.rowFirst && y < bytes_.rowEnd;
        if (!wanted && level == kWaveletLevels) return;
        const auto rows = [&](int row) { return rings_.horizontal(level, row); };
        VerticalRow(rows, rings_.low(level, y), p_.width, y, p_.height, 1 << (level - 1));
        if (wanted) {
            shrink(level, y);
            const int64_t plane = int64_t{p_.width} * p_.height;
            if (level == 2) {
                uint8_t* firstLevel = p_.pFirstLevel + (pass_ - 1) * plane + int64_t{y} * p_.width;
                NarrowQ7Round(rings_.low(level, y), firstLevel, p_.width, 1);
            }
        }
        if (level < kWaveletLevels) {
            take(level + 1, y);
        } else {
            deliver(y);
        }
    }

    void shrink(int level, int y) {
        const Level& l = levels_[level - 1];
        const int16_t* high = rings_.low(level - 1, y);
        const int16_t* low = rings_.low(level, y);
        const uint16_t* map = p_.pThresholds + int64_t{y} * p_.width;
        int16_t* sum = rings_.sum(y);
        const int block = waveletBlockColumns(p_.width);
        if (l.fitsNarrow) {
            (level == 1 ? ShrinkRowNarrow<true> : ShrinkRowNarrow<false>)(high, low, map, sum, block, l.narrow);
        } else {
            (level == 1 ? ShrinkRowWide<true> : ShrinkRowWide<false>)(high, low, map, sum, block, l.curve);
        }
        for (int x = block; x < p_.width; ++x) {
            const int16_t shrunk = shrinkTail(high[x], low[x], map[x], l.curve);
            sum[x] = static_cast<int16_t>(level == 1 ? shrunk : sum[x] + shrunk);
        }
    }

    // What is left of all details, on the last low band.
    void deliver(int y) {
        NarrowQ7Sum(rings_.low(kWaveletLevels, y), rings_.sum(y), bytes_.pDst + int64_t{y} * p_.width, p_.width);
    }

    const ST_WAVELET_DN_PARAMS& p_;
    int pass_;
    const WaveletBytes& bytes_;
    const WaveletRings& rings_;
    Level levels_[kWaveletLevels];
};

void RunSweep(const ST_WAVELET_DN_PARAMS& params, int pass, const WaveletBytes& bytes, const WaveletRings& rings) {
    Sweep(params, pass, bytes, rings).run();
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(RunSweep);

void WaveletDenoiseBytes(const ST_WAVELET_DN_PARAMS& params, int pass, const WaveletBytes& bytes,
                         const WaveletWork& work) {
    const WaveletRings rings(work, params.width, params.height);
    if (rings.fit()) {
        HWY_DYNAMIC_DISPATCH(RunSweep)(params, pass, bytes, rings);
    } else {
        WaveletDenoiseBytes_plain(params, pass, bytes, work);
    }
}

}  // namespace eis
#endif
