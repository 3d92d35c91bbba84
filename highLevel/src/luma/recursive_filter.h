// Edge-preserving smoothing of the low band by a recursive filter.
//
// Each sample is pulled toward its already filtered neighbours, first along the row, then down the column, by an amount
// that a table gives for their difference: nearly all of a small one, little of a large one. Sums are in Q7, samples
// times 128; a difference selects entry (difference + 3856) >> 5 of 241, so that a step is a quarter of a level and a
// table reaches 30 levels each way. All tables are odd around their entry 120, which is 0.
#pragma once

#include <cstdint>

namespace eis {

inline constexpr int kRecursiveLutEntries = 241;

// Fills two tables of 241 entries, one behind the other: the pull, which has fallen to a quarter of the difference at
// 4 * strength quarter-levels, and mix / 8192 of it, by which an output is pulled back to the sample that it came from.
// A strength of 0 gives zeros.
void BuildRecursiveLut(int16_t* pLut, int16_t strength, int32_t mix);

struct RecursiveFilterArgs {
    int32_t* pLineState;  // width entries: the last filtered value of each column
    const int16_t* pFollowH;
    const int16_t* pFollowV;
    const int16_t* pRestore;
    const int16_t* pSrc;
    int32_t srcStride;  // samples
    int16_t* pDst;      // pSrc itself, or a plane apart from it
    int32_t dstStride;  // samples
    int32_t width;
    int32_t height;
};

// One pass from the first sample to the last, or from the last to the first. No state is taken over: pLineState is
// written first. The sample that a pass starts with is not written. Outputs are cut to 16 bits.
void RecursiveLLForward(const RecursiveFilterArgs* args);
void RecursiveLLBackward(const RecursiveFilterArgs* args);

// The same a part of the rows at a time, in the pass's order: a part that does not open its pass goes on from the line
// state that the one before has left. Parts of RecursiveBlockRows() rows, the last one aside, are filtered fastest.
void RecursiveLLForwardPart(const RecursiveFilterArgs* args, bool opensPass);
void RecursiveLLForwardPart_plain(const RecursiveFilterArgs* args, bool opensPass);
void RecursiveLLBackwardPart(const RecursiveFilterArgs* args, bool opensPass);
void RecursiveLLBackwardPart_plain(const RecursiveFilterArgs* args, bool opensPass);
int RecursiveBlockRows();

}  // namespace eis
