// The difference of two 8-bit planes, low-pass filtered and held against a threshold.
//
// The filter is separable, with the binomial taps 1, 6, 15, 20, 15, 6, 1 of order 6; both passes shift right by 6 and
// do not round. Noise, which two frames do not share, averages out; an object that has moved stays. A `_plain` form is
// the definition, sample by sample; the `_neon` form is what callers call.
#pragma once

#include <cstdint>

namespace eis {

struct GhostThresholds {
    int32_t low, high;  // the mask is 255 where the filtered difference is larger in size, else 0
    int32_t noise;      // samples of `a` below it take the low threshold, others the high one
};

// Width by height each, without gaps; width and height are at least 6.
struct GhostPlanes {
    const uint8_t* a;
    const uint8_t* b;
    int16_t* scratch;
    uint8_t* mask;
    int width;
    int height;
};

// Writes the mask.
//
// The first and last three columns and rows have weights of their own. The second column's add up to 74, not 64, which
// shows as a difference there that is up to 15 per cent too large. In widths of 6 + 8n the last three columns hold
// what they would in a row one sample longer, that ends with the next row's first difference; after the last row
// with 0.
void GhostFilter(const GhostPlanes& planes, const GhostThresholds& thresholds);
void GhostFilter_plain(const GhostPlanes& planes, const GhostThresholds& thresholds);

inline constexpr int kGhostFilterMinSize = 6;

// Weights of the samples counted from the edge, for the edge's own column or row and the two next to it.
inline constexpr int16_t kGhostEdgeTaps[3][6] = {{20, 30, 12, 2, 0, 0}, {15, 20, 15, 12, 2, 0}, {6, 15, 20, 15, 6, 2}};
// Of the second column from the left.
inline constexpr int16_t kGhostSecondColumnTaps[6] = {15, 20, 15, 12, 12, 0};

// Whether a row's end takes in the first difference of the next row.
inline bool ghostRowReadsOn(int width) {
    return (width - 6) % 8 == 0;
}

}  // namespace eis
