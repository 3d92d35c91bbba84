// Bilinear scaling in fixed point (16.16 centre-aligned positions, 12-bit weights, truncating), after the usual
// separable formulation of bilinear interpolation.
//
// Sources are padded planes: pitch width + 4, the plane's first sample at column 2 of row 2. A `_plain` form is the
// definition, sample by sample; the `_neon` form is what callers call.
#pragma once

#include <cstdint>

#include "libCore/core/source/frame/plane_view.h"

namespace eis {

// Scales one plane: destination rows rowFirst to rowEnd - 1, of dstW samples each. colTable holds dstStride 32-bit
// column numbers at any alignment; columns behind its end stand for themselves. srcStride plays no part.
// Always 0; nothing is done when rowFirst is not below rowEnd, or a size is not positive.
int y_bilinear_scale_crop_fixed_neon(const uint8_t* src, int srcW, int srcH, int srcStride, uint8_t* dst, int dstW,
                                     int dstH, int dstStride, int rowFirst, int rowEnd, const void* colTable);
int y_bilinear_scale_crop_fixed_plain(const uint8_t* src, int srcW, int srcH, int srcStride, uint8_t* dst, int dstW,
                                      int dstH, int dstStride, int rowFirst, int rowEnd, const void* colTable);

// Scales both chroma planes of a picture in one sweep. The second padded plane stands right behind the first; the
// second destination plane right behind the last row of the first, `to`.
void uv_bilinear_scale_crop_fixed(const uint8_t* src, int srcW, int srcH, const PlaneView& to);
void uv_bilinear_scale_crop_fixed_plain(const uint8_t* src, int srcW, int srcH, const PlaneView& to);

// Scales an unpadded plane: what MirrorBorderCopy with a border of two samples and one of the forms above give, without
// the copy. Source and destination may not overlap.
void ScaleUnpadded(const PlaneView& from, const PlaneView& to);
void ScaleUnpadded_plain(const PlaneView& from, const PlaneView& to);

}  // namespace eis
