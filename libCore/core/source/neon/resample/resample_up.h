// Bilinear enlargement of 8-bit planes, twice and four times in each direction, after the usual two-tap interpolation
// between sample centres.
//
// Widths and heights are the source's; source rows lie without gaps. A `_plain` form is the definition, sample by
// sample; the `_neon` form is what callers call.
#pragma once

#include <cstdint>

namespace eis {

// Twice per direction, rounded: weights 9, 3, 3, 1 inside; beyond its edge the plane repeats its outermost samples.
void UpScaleX4_neon(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst);
void UpScaleX4_plain(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst);

// The same for a band of a plane, with no seam to its neighbours: the rows right above and below `src` are read where
// the plane goes on, which is below a top band, above a bottom band, and on both sides of a middle one.
void UpScaleX4_TopBand_neon(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst);
void UpScaleX4_TopBand_plain(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst);
void UpScaleX4_MidBand_neon(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst);
void UpScaleX4_MidBand_plain(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst);
void UpScaleX4_BottomBand_neon(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst);
void UpScaleX4_BottomBand_plain(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst);

// Four times per direction, destination rows without gaps. Between the outermost sample centres rounded; the two rows
// and columns at each edge lie on a grid of their own, two samples further out, and truncate.
void UpScaleX16_neon(const uint8_t* src, int height, int width, uint8_t* dst);
// Destination row `row` alone.
void UpScaleX16Row(const uint8_t* src, int height, int width, int row, uint8_t* dst);
void UpScaleX16Row_plain(const uint8_t* src, int height, int width, int row, uint8_t* dst);

}  // namespace eis
