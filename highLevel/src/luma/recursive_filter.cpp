#include "highLevel/src/luma/recursive_filter.h"

#include <hwy/cache_control.h>

#include <algorithm>
#include <cstring>

#include "libCore/core/source/control/control_curves.h"

#define HWY_TARGET_INCLUDE "highLevel/src/luma/recursive_filter.cpp"
#include "libCore/core/source/frame/vector_unit.h"

#include "highLevel/src/luma/pull_table-inl.h"

EIS_BEFORE_TARGET();

// A row's pull along itself is one long chain of look-ups, but depends on no other row; the pull down a column depends
// on no other column. So a block of rows is filtered strip by strip: along with a lane for each row, then down with a
// lane for each column. Look-ups take vectors in pairs.
constexpr int kPairs = kLanes < 16 ? 2 : 1;
constexpr int kBlockRows = 2 * kLanes * kPairs;
constexpr int kStrip = 64;  // columns
constexpr int kTile = 8;    // columns that change places with rows in one go

// Eight rows of eight samples become columns, and back, in each block of 128 bits.
HWY_INLINE void TransposeBlocks(V16* rows) {
    // Step by step, for compilers make slow loops of loops here.
    const auto shuffle = [](const V16* from, V16* to) HWY_ATTR {
        const D16 d;
        to[0] = hn::InterleaveLower(d, from[0], from[4]);
        to[1] = hn::InterleaveUpper(d, from[0], from[4]);
        to[2] = hn::InterleaveLower(d, from[1], from[5]);
        to[3] = hn::InterleaveUpper(d, from[1], from[5]);
        to[4] = hn::InterleaveLower(d, from[2], from[6]);
        to[5] = hn::InterleaveUpper(d, from[2], from[6]);
        to[6] = hn::InterleaveLower(d, from[3], from[7]);
        to[7] = hn::InterleaveUpper(d, from[3], from[7]);
    };
    V16 first[kTile];
    V16 second[kTile];
    shuffle(rows, first);
    shuffle(first, second);
    shuffle(second, rows);
}

// Blocks of eight samples that stand eight rows apart in a strip.
template <class D>
HWY_INLINE hn::Vec<D> LoadBlocks(D d, const int16_t* from) {
    if constexpr (hn::MaxLanes(D()) == 8) {
        return hn::Load(d, from);
    } else {
        const hn::Half<D> dh;
        return hn::Combine(d, LoadBlocks(dh, from + int64_t{hn::MaxLanes(dh)} * kStrip), LoadBlocks(dh, from));
    }
}
template <class D>
HWY_INLINE void StoreBlocks(D d, hn::Vec<D> v, int16_t* to) {
    if constexpr (hn::MaxLanes(D()) == 8) {
        hn::Store(v, d, to);
    } else {
        const hn::Half<D> dh;
        StoreBlocks(dh, hn::LowerHalf(dh, v), to);
        StoreBlocks(dh, hn::UpperHalf(dh, v), to + int64_t{hn::MaxLanes(dh)} * kStrip);
    }
}

struct PullTables {
    PullTable along;
    PullTable down;
    PullTable restore;
    bool fit;
};

// Rows that are filtered together, in the pass's order.
struct RowBlock {
    int rows;
    bool backward;
    bool opensPass;                                 // its first row has none before it
    HWY_ALIGN int16_t samples[kBlockRows][kStrip];  // of the strip at hand; rows without samples of their own repeat
    HWY_ALIGN int16_t pulled[kBlockRows][kStrip];   // along the row, Q7 around the centre
#if HWY_TARGET == HWY_NEON
    HWY_ALIGN int16_t turned[kStrip][kBlockRows];  // the same, rows and columns in each other's places
#endif
    int32_t state[kBlockRows];  // the last value of each row
    const int16_t* nextStrip;   // in the first row, fetched while the strip at hand is filtered
    int64_t nextRow;            // samples from row to row there
};

HWY_INLINE V16 CentredQ7(V16 samples) {
    const D16 d;
    return hn::ShiftLeft<7>(hn::Sub(samples, hn::Set(d, kCentre >> 7)));
}

HWY_INLINE VectorPair CentredQ7(const VectorPair& samples) {
    return {CentredQ7(samples.a), CentredQ7(samples.b)};
}

// Calls pair(p) for each, without a loop.
template <class Pair>
HWY_INLINE void ForPairs(Pair pair) {
    static_assert(kPairs <= 2);
    pair(0);
    if constexpr (kPairs == 2) pair(1);
}

#if HWY_TARGET == HWY_NEON
// Rows of a tile become columns, of samples inside the window as long as `least` and `most` are.
HWY_INLINE void TurnTile(RowBlock& block, int column, V16& least, V16& most) {
    const D16 d;
    for (int r = 0; r < kBlockRows; r += kLanes) {
        V16 x[kTile];
        for (int i = 0; i < kTile; ++i) {
            x[i] = LoadBlocks(d, &block.samples[r + i][column]);
            least = hn::Min(least, x[i]);
            most = hn::Max(most, x[i]);
        }
        TransposeBlocks(x);
        for (int i = 0; i < kTile; ++i) hn::Store(x[i], d, &block.turned[column + i][r]);
    }
}

HWY_INLINE void PullTile(const LoadedTable& table, RowBlock& block, int column, VectorPair* h) {
    int16_t* samples = block.turned[column + (block.backward ? kTile - 1 : 0)];
    const int64_t next = block.backward ? -kBlockRows : kBlockRows;
    for (int i = 0; i < kTile; ++i, samples += next) {
        ForPairs([&](int p) HWY_ATTR {
            const VectorPair sample = CentredQ7(LoadPair(samples + 2 * p * kLanes));
            h[p] = Pulled(table, sample, h[p], sample);
            StorePair(h[p], samples + 2 * p * kLanes);
        });
    }
}

HWY_INLINE void TurnTileBack(RowBlock& block, int column) {
    const D16 d;
    for (int r = 0; r < kBlockRows; r += kLanes) {
        V16 x[kTile];
        for (int i = 0; i < kTile; ++i) x[i] = hn::Load(d, &block.turned[column + i][r]);
        TransposeBlocks(x);
        for (int i = 0; i < kTile; ++i) StoreBlocks(d, x[i], &block.pulled[r + i][column]);
    }
}

#else

// Turns, pulls and turns back: turning goes on while pulls wait for each other. Samples are inside the window as long
// as `least` and `most` are.
HWY_INLINE void PullTurnedTile(const PullTable& table, RowBlock& block, int column, VectorPair* h, V16& least,
                               V16& most) {
    const D16 d;
    V16 x[kPairs][2][kTile];
    for (int p = 0; p < kPairs; ++p) {
        for (int v = 0; v < 2; ++v) {
            for (int i = 0; i < kTile; ++i) {
                x[p][v][i] = LoadBlocks(d, &block.samples[(2 * p + v) * kLanes + i][column]);
                least = hn::Min(least, x[p][v][i]);
                most = hn::Max(most, x[p][v][i]);
            }
            TransposeBlocks(x[p][v]);
        }
    }
    for (int i = 0; i < kTile; ++i) {
        const int c = block.backward ? kTile - 1 - i : i;
        for (int p = 0; p < kPairs; ++p) {
            const VectorPair sample{CentredQ7(x[p][0][c]), CentredQ7(x[p][1][c])};
            h[p] = Pulled(table, sample, h[p], sample);
            x[p][0][c] = h[p].a;
            x[p][1][c] = h[p].b;
        }
    }
    for (int p = 0; p < kPairs; ++p) {
        for (int v = 0; v < 2; ++v) {
            TransposeBlocks(x[p][v]);
            for (int i = 0; i < kTile; ++i) {
                StoreBlocks(d, x[p][v][i], &block.pulled[(2 * p + v) * kLanes + i][column]);
            }
        }
    }
}

#endif

// Calls tile(column) for the strip's tiles in the pass's order.
template <class Tile>
HWY_INLINE void ForTiles(bool backward, Tile tile) {
    for (int i = 0; i < kStrip; i += kTile) tile(backward ? kStrip - kTile - i : i);
}

// Pulls along all rows of the strip. False when samples lie outside the window.
bool PullAlong(const PullTable& table, RowBlock& block) {
    const D16 d;
    HWY_ALIGN int16_t last[kBlockRows];
    for (int r = 0; r < kBlockRows; ++r) last[r] = static_cast<int16_t>(block.state[r] - kCentre);
    VectorPair h[kPairs];
    for (int p = 0; p < kPairs; ++p) h[p] = LoadPair(last + 2 * p * kLanes);
    V16 least = hn::Zero(d);
    V16 most = least;
#if HWY_TARGET == HWY_NEON
    // The table takes half of the registers.
    const LoadedTable loaded(table);
    ForTiles(block.backward, [&](int column) { TurnTile(block, column, least, most); });
    ForTiles(block.backward, [&](int column) { PullTile(loaded, block, column, h); });
    ForTiles(block.backward, [&](int column) { TurnTileBack(block, column); });
#else
    ForTiles(block.backward, [&](int column) HWY_ATTR { PullTurnedTile(table, block, column, h, least, most); });
#endif
    const auto outside = hn::Or(hn::Lt(least, hn::Set(d, kWindowLow)), hn::Gt(most, hn::Set(d, kWindowHigh)));
    if (!hn::AllFalse(d, outside)) return false;
    for (int p = 0; p < kPairs; ++p) StorePair(h[p], last + 2 * p * kLanes);
    for (int r = 0; r < kBlockRows; ++r) block.state[r] = last[r] + kCentre;
    return true;
}

// Outputs in place of samples, from what the columns' pull has made of them.
HWY_INLINE void Restore(const LoadedTable& table, const VectorPair& v, int16_t* samples) {
    const V16 rounding = hn::Set(D16(), 63);
    const V16 centre = hn::Set(D16(), kCentre >> 7);
    const VectorPair x = CentredQ7(LoadPair(samples));
    const VectorPair out = Pulled(table, {hn::Add(v.a, rounding), hn::Add(v.b, rounding)}, x, v);
    StorePair({hn::Add(hn::ShiftRight<7>(out.a), centre), hn::Add(hn::ShiftRight<7>(out.b), centre)}, samples);
}

// Pulls the strip's rows down its columns and leaves the outputs in place of the samples.
void PullDown(const PullTables& tables, RowBlock& block, int16_t* HWY_RESTRICT line) {
    const LoadedTable down(tables.down);
    // As many columns at once as keep pulls from waiting for each other.
    constexpr int kColumns = 2 * kLanes * kPairs;
    const int rows = block.rows;
    const int64_t nextRow = block.nextRow;
    for (int c = 0; c < kStrip; c += kColumns) {
        const int16_t* opening = (block.opensPass ? block.pulled[0] : line) + c;
        VectorPair v[kPairs];
        for (int p = 0; p < kPairs; ++p) v[p] = LoadPair(opening + 2 * p * kLanes);
        const int16_t* fetched = block.nextStrip + c;
        for (int r = 0; r < rows; ++r, fetched += nextRow) {
            hwy::Prefetch(fetched);
            ForPairs([&](int p) HWY_ATTR {
                int16_t* pulled = block.pulled[r] + c + 2 * p * kLanes;
                const VectorPair h = LoadPair(pulled);
                v[p] = Pulled(down, h, v[p], h);
#if HWY_TARGET == HWY_NEON
                StorePair(v[p], pulled);
#else
                Restore(tables.restore, v[p], block.samples[r] + c + 2 * p * kLanes);
#endif
            });
        }
        for (int p = 0; p < kPairs; ++p) StorePair(v[p], line + c + 2 * p * kLanes);
    }
#if HWY_TARGET == HWY_NEON
    // In a loop of its own: two tables would take all registers.
    const LoadedTable restore(tables.restore);
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < kStrip; c += 2 * kLanes) {
            Restore(restore, LoadPair(block.pulled[r] + c), block.samples[r] + c);
        }
    }
#endif
}

// Whether all values lie within `room` of the window, as differences from the centre.
bool InWindow(const int32_t* HWY_RESTRICT values, int count, int room, int16_t* HWY_RESTRICT centred) {
    int32_t least = kCentre;
    int32_t most = kCentre;
    for (int i = 0; i < count; ++i) {
        least = values[i] < least ? values[i] : least;
        most = values[i] > most ? values[i] : most;
        centred[i] = static_cast<int16_t>(values[i] - kCentre);
    }
    return least >= 128 * kWindowLow - room && most <= 128 * kWindowHigh + room;
}

// False when 16 bits do not hold what the strip needs; nothing is changed then.
bool FilterNarrow(const PullTables& tables, RowBlock& block, int count, int32_t* line) {
    if (!tables.fit) return false;
    HWY_ALIGN int16_t centred[HWY_MAX(kStrip, kBlockRows)];
    if (!InWindow(block.state, kBlockRows, kRoom / 2, centred)) return false;
    if (!block.opensPass && !InWindow(line, count, kRoom, centred)) return false;
    for (int i = count; i < kStrip; ++i) centred[i] = 0;
    if (!PullAlong(tables.along, block)) return false;
    PullDown(tables, block, centred);
    for (int i = 0; i < count; ++i) line[i] = centred[i] + kCentre;
    return true;
}

HWY_INLINE int32_t PullOf(const int16_t* table, int32_t difference) {
    const int32_t index = (difference + 3856) >> 5;
    const int32_t low = index > 0 ? index : 0;
    return table[low < kRecursiveLutEntries - 1 ? low : kRecursiveLutEntries - 1];
}

void FilterWide(const PullTables& tables, RowBlock& block, int count, int32_t* line) {
    for (int r = 0; r < block.rows; ++r) {
        int32_t h = block.state[r];
        for (int i = 0; i < count; ++i) {
            const int c = block.backward ? count - 1 - i : i;
            const int32_t x = 128 * block.samples[r][c];
            h = x + PullOf(tables.along.all, h - x);
            const int32_t v = r == 0 && block.opensPass ? h : h + PullOf(tables.down.all, line[c] - h);
            line[c] = v;
            block.samples[r][c] = static_cast<int16_t>((v + PullOf(tables.restore.all, x - v) + 63) >> 7);
        }
        block.state[r] = h;
    }
    for (int r = block.rows; r < kBlockRows; ++r) block.state[r] = block.state[block.rows - 1];
}

HWY_INLINE void CopySamples(const int16_t* from, int count, int16_t* to) {
    if (count == kStrip) {
        memcpy(to, from, kStrip * sizeof(int16_t));
    } else {
        memcpy(to, from, count * sizeof(int16_t));
    }
}

// A row starts as if its first sample had come before, which pulls nothing; the repeated samples that fill up a strip
// pull nothing for the same reason.
void FilterBlock(const PullTables& tables, const RecursiveFilterArgs& args, RowBlock& block, int64_t row) {
    const int64_t down = block.backward ? -1 : 1;
    const int strips = (args.width + kStrip - 1) / kStrip;
    for (int i = 0; i < strips; ++i) {
        const int column = kStrip * (block.backward ? strips - 1 - i : i);
        const int count = args.width - column < kStrip ? args.width - column : kStrip;
        const int16_t* src = args.pSrc + row * args.srcStride + column;
        int16_t* dst = args.pDst + row * args.dstStride + column;
        for (int r = 0; r < kBlockRows; ++r) {
            if (r < block.rows) CopySamples(src + r * down * args.srcStride, count, block.samples[r]);
            if (r >= block.rows) memcpy(block.samples[r], block.samples[block.rows - 1], sizeof block.samples[r]);
            if (r < block.rows)
                std::fill(block.samples[r] + count, block.samples[r] + kStrip, block.samples[r][count - 1]);
            if (i == 0) block.state[r] = 128 * block.samples[r][block.backward ? count - 1 : 0];
        }
        // A strip is a short piece of many rows, a pattern that no hardware prefetcher follows.
        const int next = column + (block.backward ? -kStrip : kStrip);
        const bool fetches = next >= 0 && next + kStrip <= args.width;
        block.nextStrip = fetches ? src - column + next : block.samples[0];
        block.nextRow = fetches ? down * args.srcStride : kStrip;
        int16_t& start = dst[block.backward ? count - 1 : 0];
        const int16_t kept = start;
        if (!FilterNarrow(tables, block, count, args.pLineState + column)) {
            FilterWide(tables, block, count, args.pLineState + column);
        }
        for (int r = 0; r < block.rows; ++r) CopySamples(block.samples[r], count, dst + r * down * args.dstStride);
        if (i == 0 && block.opensPass) start = kept;
    }
}

void RecursivePass(const RecursiveFilterArgs& args, bool backward, bool opensPass) {
    if (args.width < 1) return;
    PullTables tables;
    tables.fit = SetTable(args.pFollowH, tables.along);
    tables.fit = SetTable(args.pFollowV, tables.down) && tables.fit;
    tables.fit = SetTable(args.pRestore, tables.restore) && tables.fit;
    RowBlock block;
    block.backward = backward;
    for (int y = 0; y < args.height; y += kBlockRows) {
        block.rows = args.height - y < kBlockRows ? args.height - y : kBlockRows;
        block.opensPass = opensPass && y == 0;
        FilterBlock(tables, args, block, backward ? args.height - 1 - y : y);
    }
}

int BlockRows() {
    return kBlockRows;
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(RecursivePass);
HWY_EXPORT(BlockRows);

void BuildRecursiveLut(int16_t* pLut, int16_t strength, int32_t mix) {
    BuildLumaCurveSingle(pLut, strength);
    ApplyLumaGain(pLut, mix, pLut + kRecursiveLutEntries);
}

void RecursiveLLForwardPart(const RecursiveFilterArgs* args, bool opensPass) {
    HWY_DYNAMIC_DISPATCH(RecursivePass)(*args, false, opensPass);
}

void RecursiveLLBackwardPart(const RecursiveFilterArgs* args, bool opensPass) {
    HWY_DYNAMIC_DISPATCH(RecursivePass)(*args, true, opensPass);
}

void RecursiveLLForward(const RecursiveFilterArgs* args) {
    RecursiveLLForwardPart(args, true);
}

void RecursiveLLBackward(const RecursiveFilterArgs* args) {
    RecursiveLLBackwardPart(args, true);
}

int RecursiveBlockRows() {
    return HWY_DYNAMIC_DISPATCH(BlockRows)();
}

}  // namespace eis
#endif
