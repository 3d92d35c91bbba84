// Box means of 8-bit planes, at half and at quarter scale.
//
// Widths and heights are the source's. Every block that lies wholly inside gives one destination sample; destination
// rows are as long as that count of blocks and lie without gaps. A `_plain` form is the definition, sample by sample;
// the `_neon` form is what callers call.
#pragma once

#include <cstdint>

namespace eis {

// Mean of 4 by 4 samples, rounded. The source pitch is the width rounded up to 128.
void DownScaleBox4x4_neon(const uint8_t* src, int height, int width, uint8_t* dst);
void DownScaleBox4x4_plain(const uint8_t* src, int height, int width, uint8_t* dst);

// Mean of 2 by 2 samples by rounding halves: first of each row's pair, then of the two results. It can lie one above
// the rounded mean of the four. The source pitch is the width rounded up to 128, the width itself, or srcStride.
void DownScaleBox2x2_Stride_neon(const uint8_t* src, int height, int width, uint8_t* dst);
void DownScaleBox2x2_Stride_plain(const uint8_t* src, int height, int width, uint8_t* dst);
void DownScaleBox2x2_Tight_neon(const uint8_t* src, int height, int width, uint8_t* dst);
void DownScaleBox2x2_neon(const uint8_t* src, int srcStride, uint8_t* dst, int width, int height);
void DownScaleBox2x2_plain(const uint8_t* src, int srcStride, uint8_t* dst, int width, int height);

}  // namespace eis
