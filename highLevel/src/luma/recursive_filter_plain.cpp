#include <algorithm>

#include "highLevel/src/luma/recursive_filter.h"

namespace eis {

namespace {

int pull(const int16_t* table, int difference) {
    return table[std::clamp((difference + 3856) >> 5, 0, kRecursiveLutEntries - 1)];
}

// The value in Q7 as a sample, pulled back toward x.
int16_t restored(const int16_t* table, int x, int value) {
    return static_cast<int16_t>((value + pull(table, x - value) + 63) >> 7);
}

// Row and column numbers count from where the pass starts.
void recursivePass(const RecursiveFilterArgs& a, bool backward, bool opensPass) {
    const auto column = [&](int c) { return backward ? a.width - 1 - c : c; };
    const auto row = [&](int r) { return int64_t{backward ? a.height - 1 - r : r}; };
    const auto sample = [&](int r, int c) { return 128 * a.pSrc[row(r) * a.srcStride + column(c)]; };
    const auto store = [&](int r, int c, int x, int value) {
        a.pLineState[column(c)] = value;
        if (!opensPass || r > 0 || c > 0) a.pDst[row(r) * a.dstStride + column(c)] = restored(a.pRestore, x, value);
    };
    for (int r = 0; r < a.height; ++r) {
        int state = 0;
        for (int c = 0; c < a.width; ++c) {
            const int x = sample(r, c);
            state = c == 0 ? x : x + pull(a.pFollowH, state - x);
            store(r, c, x, opensPass && r == 0 ? state : state + pull(a.pFollowV, a.pLineState[column(c)] - state));
        }
    }
}

}  // namespace

void RecursiveLLForwardPart_plain(const RecursiveFilterArgs* args, bool opensPass) {
    recursivePass(*args, false, opensPass);
}

void RecursiveLLBackwardPart_plain(const RecursiveFilterArgs* args, bool opensPass) {
    recursivePass(*args, true, opensPass);
}

}  // namespace eis
