#include <algorithm>
#include <cstring>

#include "highLevel/src/luma/gradient_planes.h"
#include "highLevel/src/luma/lifting53.h"
#include "highLevel/src/luma/luma_pass.h"
#include "highLevel/src/luma/plane_convert.h"
#include "highLevel/src/luma/recursive_filter.h"
#include "highLevel/src/luma/shrink_band.h"
#include "libCore/core/source/control/shrink_lut.h"
#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/neon/resample/resample_down.h"

namespace eis {

namespace {

constexpr int kGradientThreshold = 10;
constexpr int32_t kGuardLimit = 50;
constexpr uint16_t kTopMix = 614;

// Rows of the low band.
struct SweepRows {
    RowRange smoothed;   // and their details shrunk: all but the overlaps, of which one row counts
    RowRange gradients;  // what makes the rows at quarter scale
    RowRange low;        // what gradients are made of
    RowRange quarter;    // at quarter scale

    explicit SweepRows(const ST_NR_BAND_PARAMS& band) {
        const int half = band.height / 2;
        const int top = band.bandTopOverlap >> 1 > 1 ? (band.bandTopOverlap >> 1) - 1 : 0;
        const int bottom = band.bandBottomOverlap >= 4 ? (band.bandBottomOverlap >> 1) - 1 : 0;
        quarter = LumaQuarterRows(band);
        smoothed = {top, half - bottom};
        gradients = {2 * quarter.begin, 2 * quarter.end};
        low = {std::max(std::min(gradients.begin, smoothed.begin) - 1, 0),
               std::min(std::max(gradients.end, smoothed.end) + 1, half)};
    }
};

// Rows on their way through a sweep; those of two neighbours take turns by their number's lowest bit.
struct SweepLines {
    int16_t* detail[2];  // down the columns
    int16_t* smooth;
    int16_t* bands[3];  // HL, LH, HH
    int16_t* joinedLow;
    int16_t* joinedHigh[2];
    int16_t* even[2];
    uint8_t* gradX;
    uint8_t* gradY;
    uint8_t* gradMean;  // two rows
    uint8_t* denoised;
    uint8_t* medians;  // four rows

    SweepLines(int16_t* memory, int width) {
        const int half = width / 2;
        const auto take = [&](int samples) {
            int16_t* line = memory;
            memory += roundUp(samples, 32);
            return line;
        };
        const auto takeBytes = [&](int bytes) { return reinterpret_cast<uint8_t*>(take((bytes + 1) / 2)); };
        smooth = take(width);
        joinedLow = take(width);
        for (auto* lines : {&detail, &joinedHigh, &even}) {
            for (int16_t*& line : *lines) line = take(width);
        }
        for (int16_t*& line : bands) line = take(half);
        gradX = takeBytes(half);
        gradY = takeBytes(half);
        gradMean = takeBytes(2 * half);
        denoised = takeBytes(width);
        medians = takeBytes(4 * width);
    }
};

// The band's luma as the split takes it, with medians made when they are asked for. The last four rows asked for stay.
// Once neighbours write their bands, rows beyond the core come from copies.
class LumaRows {
  public:
    LumaRows(const LumaPassParams& params, uint8_t* medians, bool coreOnly)
        : params_(params), medians_(medians), coreOnly_(coreOnly) {}

    const uint8_t* operator()(int row) {
        if (!params_.settings.median || row == 0 || row == params_.band.height - 1) return source(row);
        const int slot = row % 4;
        uint8_t* medians = medians_ + int64_t{slot} * params_.band.width;
        if (held_[slot] != row) {
            Median3x3Row(source(row - 1), source(row), source(row + 1), params_.band.width, medians);
            held_[slot] = row;
        }
        return medians;
    }

  private:
    const uint8_t* source(int row) const {
        const ST_NR_BAND_PARAMS& band = params_.band;
        const BorderRows& border = params_.scratch.border;
        if (coreOnly_ && row < band.bandTopOverlap) return border.at(row - band.bandTopOverlap);
        if (coreOnly_ && row >= band.coreEnd()) return border.at(row - band.coreEnd());
        return band.luma.plane + std::max<int64_t>(band.luma.start + int64_t{row} * band.luma.pitch, 0);
    }

    const LumaPassParams& params_;
    uint8_t* medians_;
    bool coreOnly_;
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
        const int width = params_.band.width / 2;
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

// What the sweeps do to a row of pairs.
struct LumaSweep {
    LumaSweep(const LumaPassParams& passParams, bool coreOnly)
        : params(passParams),
          s(passParams.scratch),
          halfWidth(passParams.band.width / 2),
          halfHeight(passParams.band.height / 2),
          rows(passParams.band),
          lines(s.nrWideTmp, passParams.band.width),
          luma(passParams, lines.medians, coreOnly) {}

    int16_t* low(int i) const { return s.nrWide + int64_t{i} * halfWidth; }
    uint8_t* gradMean(int i) const { return lines.gradMean + int64_t{i & 1} * halfWidth; }

    void liftDetail(int i) {
        const uint8_t* x0 = luma(2 * i);
        const uint8_t* x1 = luma(2 * i + 1);
        const uint8_t* x2 = i < halfHeight - 1 ? luma(2 * i + 2) : x0;
        LiftDetailRow(x0, x1, x2, fetchAhead(i), 2 * halfWidth, lines.detail[i & 1]);
    }
    // The details of this pair and of the one before must be there.
    void liftSmooth(int i) {
        const int16_t* detail = lines.detail[i & 1];
        LiftSmoothRow(luma(2 * i), i > 0 ? lines.detail[(i - 1) & 1] : detail, detail, 2 * halfWidth, lines.smooth);
    }
    // Where the rows of the second pair below lie: they are fetched early.
    int64_t fetchAhead(int i) const {
        constexpr int kPairs = 2;
        return i + kPairs < halfHeight && !params.settings.median ? int64_t{2 * kPairs} * params.band.luma.pitch : 0;
    }
    void takeGradients(int i) {
        if (i > 0 && i < halfHeight - 1) {
            GradientRow(low(i - 1), low(i), low(i + 1), halfWidth, kGradientThreshold,
                        {lines.gradX, lines.gradY, gradMean(i)});
            return;
        }
        for (uint8_t* line : {lines.gradX, lines.gradY, gradMean(i)}) std::memset(line, 0, halfWidth);
    }

    const LumaPassParams& params;
    const LumaScratch& s;
    const int halfWidth;
    const int halfHeight;
    const SweepRows rows;
    const SweepLines lines;
    LumaRows luma;
};

// Works in place: luma is read ahead of the rows that are written, and what is needed again of those is held.
class MergeSweep : LumaSweep {
  public:
    explicit MergeSweep(const LumaPassParams& passParams) : LumaSweep(passParams, true) {
        BuildShrinkLut(s.shrinkLut, params.settings.hfStrength);
        shrink_ = PrepareShrink({nullptr, 0, nullptr, 0, 0, 0, s.shrinkLut, kGuardLimit, kTopMix});
    }

    void run() {
        const RowRange& pairs = rows.smoothed;
        if (pairs.begin > 0) liftDetail(pairs.begin - 1);
        for (int i = pairs.begin; i < pairs.end; ++i) {
            liftDetail(i);
            liftSmooth(i);
            takeGradients(i);
            mergeDetails(i);
            joinEven(i);
            if (i > pairs.begin) writeOdd(i - 1, lines.even[i & 1]);
            writeEven(i);
        }
        writeOdd(pairs.end - 1, lines.even[(pairs.end - 1) & 1]);
    }

  private:
    // Splits the details off once more, shrinks them, and joins the pair's bands along the row.
    void mergeDetails(int i) {
        SplitRowHigh(lines.smooth, halfWidth, lines.bands[0]);
        SplitRow(lines.detail[i & 1], halfWidth, lines.bands[1], lines.bands[2]);
        const uint8_t* const guards[3] = {lines.gradX, lines.gradY, gradMean(i)};
        for (int band = 0; band < 3; ++band) ShrinkDetailRow(shrink_, guards[band], halfWidth, lines.bands[band]);
        JoinRow(low(i), lines.bands[0], halfWidth, lines.joinedLow);
        JoinRow(lines.bands[1], lines.bands[2], halfWidth, lines.joinedHigh[i & 1]);
    }

    // Down the columns; the odd row once the pair below has its even one.
    void joinEven(int i) {
        const int16_t* high = lines.joinedHigh[i & 1];
        const int16_t* highBefore = i > rows.smoothed.begin ? lines.joinedHigh[(i - 1) & 1] : high;
        UnliftSmoothRow(lines.joinedLow, highBefore, high, 2 * halfWidth, lines.even[i & 1]);
    }
    void writeEven(int i) {
        if (!params.band.isCore(2 * i)) return;
        NarrowPlaneSat(lines.even[i & 1], lines.denoised, 2 * halfWidth, 1);
        write(2 * i);
    }
    void writeOdd(int i, const int16_t* evenBelow) {
        if (!params.band.isCore(2 * i + 1)) return;
        UnliftDetailRow(lines.joinedHigh[i & 1], lines.even[i & 1], evenBelow, 2 * halfWidth, lines.denoised);
        write(2 * i + 1);
    }

    // A last column that makes no pair comes through as it is, as does a last row, which nothing need be done to.
    void write(int y) {
        if (params.band.width % 2 != 0) lines.denoised[params.band.width - 1] = luma(y)[params.band.width - 1];
        RemixLumaRow(params, y, lines.denoised);
    }

    ShrinkSettings shrink_;
};

}  // namespace

void SplitLuma(const LumaPassParams& params) {
    const ST_NR_BAND_PARAMS& band = params.band;
    LumaSweep sweep(params, false);
    const SweepRows& rows = sweep.rows;
    LowBandSmoothing smoothing(params, rows.smoothed);
    if (rows.low.begin > 0) sweep.liftDetail(rows.low.begin - 1);
    for (int i = rows.low.begin; i < rows.low.end; ++i) {
        sweep.liftDetail(i);
        sweep.liftSmooth(i);
        SplitRowLow(sweep.lines.smooth, sweep.halfWidth, sweep.low(i));
        // None of the rows shrunk lies above the plane: they begin at least half an overlap into the band.
        if (i % 2 == 1 && rows.quarter.contains(i / 2)) {
            DownScaleBox4x4_neon(band.luma.row(2 * i - 2), 4, band.width,
                                 params.scratch.lumaQuarter + int64_t{i / 2} * (band.width / 4));
        }
        smoothing.downTo(i + 1);
    }
}

void SmoothLuma(const LumaPassParams& params) {
    LumaSweep sweep(params, false);
    const SweepRows& rows = sweep.rows;
    const int64_t quarterWidth = params.band.width / 4;
    uint8_t* const quarter = params.scratch.gradQuarter;
    std::memset(quarter, 0, rows.quarter.begin * quarterWidth);
    std::memset(quarter + rows.quarter.end * quarterWidth, 0,
                (params.band.height / 4 - rows.quarter.end) * quarterWidth);
    LowBandSmoothing smoothing(params, rows.smoothed);
    for (int i = rows.gradients.end - 1; i >= rows.gradients.begin; --i) {
        smoothing.upTo(i - 1);
        sweep.takeGradients(i);
        if (i % 2 != 0) continue;
        DownScaleBox2x2_neon(sweep.lines.gradMean, sweep.halfWidth, quarter + i / 2 * quarterWidth, sweep.halfWidth, 2);
    }
    smoothing.upTo(rows.smoothed.begin);
}

void MergeLuma(const LumaPassParams& params) {
    MergeSweep(params).run();
}

}  // namespace eis
