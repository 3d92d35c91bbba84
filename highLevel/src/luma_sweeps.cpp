#include <algorithm>
#include <cstring>

#include "highLevel/src/gradient_planes.h"
#include "highLevel/src/lifting53.h"
#include "highLevel/src/luma_pass.h"
#include "highLevel/src/plane_convert.h"
#include "highLevel/src/recursive_filter.h"
#include "highLevel/src/shrink_band.h"
#include "libCore/core/source/neon/resample_down.h"
#include "libCore/core/source/shrink_lut.h"

namespace eis {

namespace {

constexpr int kGradientThreshold = 10;
constexpr int32_t kGuardLimit = 50;
constexpr uint16_t kTopMix = 614;

// Rows of the low band.
struct SweepRows {
    RowRange smoothed;   // and their details shrunk: all but the overlaps, of which one row counts
    RowRange gradients;  // what guards those details and what makes the rows at quarter scale
    RowRange low;        // what the gradients are made of
    RowRange quarter;    // at quarter scale

    explicit SweepRows(const NrBand& band) {
        const int half = band.height / 2;
        const int top = band.bandTopOverlap >> 1 > 1 ? (band.bandTopOverlap >> 1) - 1 : 0;
        const int bottom = band.bandBottomOverlap >= 4 ? (band.bandBottomOverlap >> 1) - 1 : 0;
        quarter = LumaQuarterRows(band);
        smoothed = {top, half - bottom};
        gradients = {std::min(2 * quarter.begin, smoothed.begin), std::max(2 * quarter.end, smoothed.end)};
        low = {std::max(gradients.begin - 1, 0), std::min(gradients.end + 1, half)};
    }
};

// Rows on their way through a sweep; those of two neighbours take turns by their number's lowest bit.
struct SweepLines {
    int16_t* detail[2];  // down the columns
    int16_t* smooth;
    int16_t* bands[3];  // HL, LH, HH
    int16_t* joinedLow[2];
    int16_t* joinedHigh[2];
    int16_t* even[2];
    uint8_t* gradX;
    uint8_t* gradY;
    uint8_t* gradMean;  // two rows
    uint8_t* medians;   // four rows

    SweepLines(int16_t* memory, int width) {
        const int half = width / 2;
        const auto take = [&](int samples) {
            int16_t* line = memory;
            memory += (samples + 31) & ~31;
            return line;
        };
        const auto takeBytes = [&](int bytes) { return reinterpret_cast<uint8_t*>(take((bytes + 1) / 2)); };
        for (auto* lines : {&detail, &joinedLow, &joinedHigh, &even}) {
            for (int16_t*& line : *lines) line = take(width);
        }
        smooth = take(width);
        for (int16_t*& line : bands) line = take(half);
        gradX = takeBytes(half);
        gradY = takeBytes(half);
        gradMean = takeBytes(2 * half);
        medians = takeBytes(4 * width);
    }
};

// The band's luma as the split takes it, with medians made when they are asked for. The last three rows asked for stay.
class LumaRows {
  public:
    LumaRows(const LumaPassParams& params, uint8_t* medians) : params_(params), medians_(medians) {}

    const uint8_t* operator()(int row) {
        if (!params_.settings.median || row == 0 || row == params_.band.height - 1) return source(row);
        const int slot = row % 4;
        uint8_t* medians = medians_ + int64_t{slot} * params_.width;
        if (held_[slot] != row) {
            Median3x3Row(source(row - 1), source(row), source(row + 1), params_.width, medians);
            held_[slot] = row;
        }
        return medians;
    }

  private:
    const uint8_t* source(int row) const {
        const BandSource& source = params_.source;
        return source.plane + std::max<int64_t>(source.start + int64_t{row} * source.pitch, 0);
    }

    const LumaPassParams& params_;
    uint8_t* medians_;
    int held_[4] = {-1, -1, -1, -1};
};

// The two smoothing passes over the low band, a block of rows at a time.
class LowBandSmoothing {
  public:
    LowBandSmoothing(const LumaPassParams& params, const RowRange& rows)
        : params_(params), rows_(rows), blockRows_(RecursiveBlockRows()) {
        BuildRecursiveLut(table_, params.settings.lfStrength, params.settings.lfMix);
    }

    // Smooths downward what rows before `end` make whole blocks of, and the last block.
    void downTo(int end) {
        end = std::min(end, rows_.end);
        while (end - down_ >= blockRows_ || (end == rows_.end && down_ < end)) {
            const int count = std::min(blockRows_, end - down_);
            const RecursiveFilterArgs args = argsFor(down_, count);
            RecursiveLLForwardPart(&args, down_ == rows_.begin);
            down_ += count;
        }
    }

    // Smooths upward until `row` has been.
    void upTo(int row) {
        while (up_ > std::max(row, rows_.begin)) {
            const int count = std::min(blockRows_, up_ - rows_.begin);
            const RecursiveFilterArgs args = argsFor(up_ - count, count);
            RecursiveLLBackwardPart(&args, up_ == rows_.end);
            up_ -= count;
        }
    }

  private:
    RecursiveFilterArgs argsFor(int row, int count) const {
        const int width = params_.width / 2;
        int16_t* low = params_.scratch.nrWide + int64_t{row} * width;
        return {params_.scratch.nrLineState,
                table_,
                table_,
                table_ + kRecursiveLutEntries,
                low,
                width,
                low,
                width,
                width,
                count};
    }

    const LumaPassParams& params_;
    RowRange rows_;
    int blockRows_;
    int down_ = rows_.begin;
    int up_ = rows_.end;
    int16_t table_[2 * kRecursiveLutEntries];
};

// What both sweeps do to a row of pairs.
class LumaSweep {
  public:
    explicit LumaSweep(const LumaPassParams& passParams)
        : params(passParams),
          s(passParams.scratch),
          halfWidth(passParams.width / 2),
          halfHeight(passParams.band.height / 2),
          rows(passParams.band),
          lines(s.nrWideTmp, passParams.width),
          luma(passParams, lines.medians),
          smoothing(passParams, rows.smoothed) {}

    int16_t* low(int i) const { return s.nrWide + int64_t{i} * halfWidth; }

    void liftDetail(int i) {
        const uint8_t* x0 = luma(2 * i);
        const uint8_t* x1 = luma(2 * i + 1);
        LiftDetailRow(x0, x1, i < halfHeight - 1 ? luma(2 * i + 2) : x0, 2 * halfWidth, lines.detail[i & 1]);
    }
    // The details of this pair and of the one before must be there.
    void liftSmooth(int i) {
        const int16_t* detail = lines.detail[i & 1];
        LiftSmoothRow(luma(2 * i), i > 0 ? lines.detail[(i - 1) & 1] : detail, detail, 2 * halfWidth, lines.smooth);
    }

    const LumaPassParams& params;
    const LumaScratch& s;
    const int halfWidth;
    const int halfHeight;
    const SweepRows rows;
    const SweepLines lines;
    LumaRows luma;
    LowBandSmoothing smoothing;
};

class DownwardSweep : LumaSweep {
  public:
    using LumaSweep::LumaSweep;

    void run() {
        if (rows.low.begin > 0) liftDetail(rows.low.begin - 1);
        for (int i = rows.low.begin; i < rows.low.end; ++i) {
            liftDetail(i);
            liftSmooth(i);
            SplitRowLow(lines.smooth, halfWidth, low(i));
            if (i % 2 == 1 && rows.quarter.contains(i / 2)) shrinkLuma(i / 2);
            smoothing.downTo(i + 1);
        }
    }

  private:
    void shrinkLuma(int quarterRow) {
        const BandSource& source = params.source;
        const BandSource four{source.plane, source.start + int64_t{4} * quarterRow * source.pitch, source.pitch};
        DownScaleBand4x4(four, params.width, 4, s.lumaQuarter + int64_t{quarterRow} * (params.width / 4),
                         reinterpret_cast<uint8_t*>(lines.joinedLow[0]));
    }
};

class UpwardSweep : LumaSweep {
  public:
    explicit UpwardSweep(const LumaPassParams& passParams) : LumaSweep(passParams) {
        BuildShrinkLut(s.shrinkLut, params.settings.hfStrength);
        shrink_ = PrepareShrink({nullptr, 0, nullptr, 0, 0, 0, s.shrinkLut, kGuardLimit, kTopMix});
    }

    void run() {
        clearQuarter({0, rows.quarter.begin});
        clearQuarter({rows.quarter.end, params.band.height / 4});
        const bool merges = params.writesLuma;
        if (merges) liftDetail(rows.smoothed.end - 1);
        for (int i = rows.gradients.end - 1; i >= rows.gradients.begin; --i) {
            smoothing.upTo(i - 1);
            takeGradients(i);
            if (i % 2 == 0 && rows.quarter.contains(i / 2)) shrinkGradients(i / 2);
            if (!merges || !rows.smoothed.contains(i)) continue;
            mergeDetails(i);
            if (i + 1 < rows.smoothed.end) writePair(i + 1, lines.joinedHigh[i & 1]);
            if (i == 0) writePair(0, lines.joinedHigh[0]);
        }
        if (merges) writeUnpaired();
    }

  private:
    uint8_t* gradMean(int i) const { return lines.gradMean + int64_t{i & 1} * halfWidth; }

    void takeGradients(int i) {
        if (i > 0 && i < halfHeight - 1) {
            GradientRow(low(i - 1), low(i), low(i + 1), halfWidth, kGradientThreshold, lines.gradX, lines.gradY,
                        gradMean(i));
            return;
        }
        for (uint8_t* line : {lines.gradX, lines.gradY, gradMean(i)}) std::memset(line, 0, halfWidth);
    }

    void shrinkGradients(int quarterRow) {
        DownScaleBox2x2_neon(lines.gradMean, halfWidth, s.gradQuarter + int64_t{quarterRow} * (params.width / 4),
                             halfWidth, 2);
    }

    void clearQuarter(const RowRange& range) {
        const int64_t width = params.width / 4;
        std::memset(s.gradQuarter + range.begin * width, 0, (range.end - range.begin) * width);
    }

    // Splits the details off once more, shrinks them, and joins the pair's bands along the row.
    void mergeDetails(int i) {
        if (i > 0) liftDetail(i - 1);
        liftSmooth(i);
        SplitRowHigh(lines.smooth, halfWidth, lines.bands[0]);
        SplitRow(lines.detail[i & 1], halfWidth, lines.bands[1], lines.bands[2]);
        const uint8_t* const guards[3] = {lines.gradX, lines.gradY, gradMean(i)};
        for (int band = 0; band < 3; ++band) ShrinkDetailRow(shrink_, guards[band], halfWidth, lines.bands[band]);
        JoinRow(low(i), lines.bands[0], halfWidth, lines.joinedLow[i & 1]);
        JoinRow(lines.bands[1], lines.bands[2], halfWidth, lines.joinedHigh[i & 1]);
    }

    // Joins a pair down the columns, once the pair below has its even row.
    void writePair(int i, const int16_t* highBefore) {
        const int16_t* high = lines.joinedHigh[i & 1];
        int16_t* even = lines.even[i & 1];
        UnliftSmoothRow(lines.joinedLow[i & 1], highBefore, high, 2 * halfWidth, even);
        if (isCore(2 * i)) NarrowPlaneSat(even, out(2 * i), 2 * halfWidth, 1);
        const int16_t* below = i < halfHeight - 1 ? lines.even[(i + 1) & 1] : even;
        if (isCore(2 * i + 1)) UnliftDetailRow(high, even, below, 2 * halfWidth, out(2 * i + 1));
    }

    // A last column and row that make no pair come through as they are.
    void writeUnpaired() {
        if (params.width % 2 != 0) {
            for (int y = 0; y < params.band.height; ++y) {
                if (isCore(y)) out(y)[params.width - 1] = luma(y)[params.width - 1];
            }
        }
        const int last = params.band.height - 1;
        if (last % 2 == 0 && isCore(last)) std::memcpy(out(last), luma(last), params.width);
    }

    bool isCore(int y) const {
        return y >= params.band.bandTopOverlap && y < params.band.height - params.band.bandBottomOverlap;
    }
    uint8_t* out(int y) const { return s.nrOut + int64_t{y} * params.width; }

    ShrinkSettings shrink_;
};

}  // namespace

void SplitLuma(const LumaPassParams& params) {
    DownwardSweep(params).run();
}

void MergeLuma(const LumaPassParams& params) {
    UpwardSweep(params).run();
}

}  // namespace eis
