// Gradients of the low band, which guard the detail bands against losing real edges.
#pragma once

#include <cstdint>

namespace eis {

// Writes three planes of width * height bytes, one behind the other: the horizontal and the vertical gradient by the
// 3x3 Sobel operator, and their mean, rounded up. Sums wrap at 16 bits; gradients end at 255 and are 0 below the
// threshold. The outermost rows and columns are 0. Rows of pLow are `stride` samples apart.
void GradientPlanes(const int16_t* pLow, uint8_t* pPlanes, int width, int height, int stride, int threshold);

struct GradientRows {
    uint8_t* x;
    uint8_t* y;
    uint8_t* mean;
};

// One row of them, inside the planes.
void GradientRow(const int16_t* above, const int16_t* row, const int16_t* below, int width, int threshold,
                 const GradientRows& out);
void GradientRow_plain(const int16_t* above, const int16_t* row, const int16_t* below, int width, int threshold,
                       const GradientRows& out);

}  // namespace eis
