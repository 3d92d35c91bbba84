// Shrinks the coefficients of a detail band through a table, less where a guard plane tells of an edge.
#pragma once

#include <cstdint>

#include "highLevel/src/luma/half_table.h"

namespace eis {

struct ShrinkBandArgs {
    int16_t* pBand;
    int32_t bandStride;     // samples
    const uint8_t* pGuard;  // a strength of edge for each coefficient
    int32_t guardStride;
    int32_t width;
    int32_t height;
    const int16_t*
        pShrinkLut;      // 1024 entries, what is left of coefficients -512 to 511; others take the outermost entry
    int32_t guardLimit;  // coefficients at this guard and above stay
    uint16_t topMix;     // most that a coefficient keeps of itself below the limit, in 1/1024
};

// What the rows of a band share; pBand, pGuard and the sizes of the arguments play no part.
struct ShrinkSettings {
    const int16_t* pShrinkLut;
    HalfTable half;  // what is left of small coefficients
    bool fit;        // for shrinking small coefficients in 16 bits
    int16_t limit;
    int32_t step;
    int32_t topMix;
};
ShrinkSettings PrepareShrink(const ShrinkBandArgs& args);
void ShrinkDetailRow(const ShrinkSettings& settings, const uint8_t* guard, int width, int16_t* band);
void ShrinkDetailRow_plain(const ShrinkSettings& settings, const uint8_t* guard, int width, int16_t* band);

// The part that a coefficient keeps of itself grows by 1024 / guardLimit with each step of the guard, up to topMix. A
// row of whole groups of eight is shrunk once; in any other row of more than eight, the last eight coefficients are a
// second sweep, with the same guards: those that the groups had reached are shrunk twice.
void ShrinkDetailBand(const ShrinkBandArgs* args);

}  // namespace eis
