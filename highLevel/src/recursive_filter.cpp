#include "highLevel/src/recursive_filter.h"

#include <cstring>

#include "libCore/core/source/control_curves.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "highLevel/src/recursive_filter.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

// Columns and rows handled in one go. A row's pull along itself is one long chain of look-ups, but it depends on no
// other row: several chains side by side hide each other's latency.
constexpr int kStrip = 1024;
constexpr int kChains = 4;

// Tables with entries as wide as the sums, for gathers.
struct PullTables {
    int32_t along[kRecursiveLutEntries];
    int32_t down[kRecursiveLutEntries];
    int32_t restore[kRecursiveLutEntries];
};

struct RecursiveStrip {
    int16_t samples[kChains][kStrip];
    int32_t pulled[kChains][kStrip];  // along the row
};

HWY_INLINE int32_t Pull(const int32_t* HWY_RESTRICT table, int32_t difference) {
    const int32_t index = (difference + 3856) >> 5;
    const int32_t low = index > 0 ? index : 0;
    return table[low < kRecursiveLutEntries - 1 ? low : kRecursiveLutEntries - 1];
}

// `state` holds the last value of each row from `row` on, and takes the new one. A row's first sample follows itself,
// which is no pull.
template <int kRows>
void PullAlong(const int32_t* HWY_RESTRICT table, RecursiveStrip& strip, int row, int first, int end, int step,
               int32_t* HWY_RESTRICT state) {
    int32_t h[kRows];
    for (int r = 0; r < kRows; ++r) h[r] = state[r];
    for (int c = first; c != end; c += step) {
        for (int r = 0; r < kRows; ++r) {
            const int32_t x = 128 * strip.samples[row + r][c];
            h[r] = x + Pull(table, h[r] - x);
            strip.pulled[row + r][c] = h[r];
        }
    }
    for (int r = 0; r < kRows; ++r) state[r] = h[r];
}

void PullDownRow(const int32_t* HWY_RESTRICT table, const int32_t* HWY_RESTRICT pulled, int count,
                 int32_t* HWY_RESTRICT line) {
    for (int c = 0; c < count; ++c) line[c] = pulled[c] + Pull(table, line[c] - pulled[c]);
}

void RestoreRow(const int32_t* HWY_RESTRICT table, const int16_t* HWY_RESTRICT samples,
                const int32_t* HWY_RESTRICT line, int first, int end, int16_t* HWY_RESTRICT dst) {
    for (int c = first; c < end; ++c) {
        dst[c] = static_cast<int16_t>((line[c] + Pull(table, 128 * samples[c] - line[c]) + 63) >> 7);
    }
}

// Rows that are filtered together, in the pass's order.
struct RowGroup {
    int rows;
    const int16_t* src[kChains];
    int16_t* dst[kChains];
    int32_t state[kChains];
    bool opensPass;  // its first row has none before it
};

void FilterStrip(const PullTables& tables, RowGroup& group, int column, int count, bool backward, bool opensRow,
                 int32_t* line) {
    RecursiveStrip strip;
    const int first = backward ? count - 1 : 0;
    const int end = backward ? -1 : count;
    const int step = backward ? -1 : 1;
    for (int r = 0; r < group.rows; ++r) {
        memcpy(strip.samples[r], group.src[r] + column, count * sizeof(int16_t));
        if (opensRow) group.state[r] = 128 * strip.samples[r][first];
    }
    if (group.rows == kChains) {
        PullAlong<kChains>(tables.along, strip, 0, first, end, step, group.state);
    } else {
        for (int r = 0; r < group.rows; ++r) PullAlong<1>(tables.along, strip, r, first, end, step, group.state + r);
    }
    for (int r = 0; r < group.rows; ++r) {
        int from = 0;
        int to = count;
        if (r == 0 && group.opensPass) {
            memcpy(line, strip.pulled[r], count * sizeof(int32_t));
            // The sample that the pass starts with stays as it is.
            if (opensRow && backward) --to;
            if (opensRow && !backward) ++from;
        } else {
            PullDownRow(tables.down, strip.pulled[r], count, line);
        }
        RestoreRow(tables.restore, strip.samples[r], line, from, to, group.dst[r] + column);
    }
}

void RecursivePass(const RecursiveFilterArgs& args, bool backward) {
    PullTables tables;
    for (int i = 0; i < kRecursiveLutEntries; ++i) {
        tables.along[i] = args.pFollowH[i];
        tables.down[i] = args.pFollowV[i];
        tables.restore[i] = args.pRestore[i];
    }
    const int strips = (args.width + kStrip - 1) / kStrip;
    for (int y = 0; y < args.height; y += kChains) {
        RowGroup group;
        group.rows = args.height - y < kChains ? args.height - y : kChains;
        group.opensPass = y == 0;
        for (int r = 0; r < group.rows; ++r) {
            const int64_t row = backward ? args.height - 1 - (y + r) : y + r;
            group.src[r] = args.pSrc + row * args.srcStride;
            group.dst[r] = args.pDst + row * args.dstStride;
        }
        for (int i = 0; i < strips; ++i) {
            const int column = kStrip * (backward ? strips - 1 - i : i);
            const int count = args.width - column < kStrip ? args.width - column : kStrip;
            FilterStrip(tables, group, column, count, backward, i == 0, args.pLineState + column);
        }
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(RecursivePass);

void BuildRecursiveLut(int16_t* pLut, int16_t strength, int32_t mix) {
    BuildLumaCurveSingle(pLut, strength);
    ApplyLumaGain(pLut, mix, pLut + kRecursiveLutEntries);
}

void RecursiveLLForward(const RecursiveFilterArgs* args) {
    HWY_DYNAMIC_DISPATCH(RecursivePass)(*args, false);
}

void RecursiveLLBackward(const RecursiveFilterArgs* args) {
    HWY_DYNAMIC_DISPATCH(RecursivePass)(*args, true);
}

}  // namespace eis
#endif
