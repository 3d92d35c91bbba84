// Binary morphology of byte masks, 0 or 255 a pixel, rows without gaps, in place.
//
// Where a form takes scratch memory of its own and gets none, it logs "Memery Allocating Error!" and returns
// retStsNoMemory. What lies outside a plane neither grows into it nor erodes it. A plane without pixels is left alone.
#pragma once

#include <cstdint>

#include "include/acore_types.h"

namespace eis {

// Makes bytes at or above the threshold 255, all others 0, then dilates by a square of radius 3. scratch, which only
// planes of up to 32 columns use, holds width * height bytes. Without memory the mask is binary, but not dilated.
ret_status MaskBinarizeDilate_r3(uint8_t* mask, int width, int height, uint8_t threshold, uint8_t* scratch);
// Always retStsOK.
ret_status MaskBinarizeDilate_r3_plain(uint8_t* mask, int width, int height, uint8_t threshold, uint8_t* scratch);

// Through packed bits: dilation by a square of radius 3; a closing that leaves the mask grown by four pixels; an
// opening that does. At a width that is a multiple of 32 the erosion in the pairs takes each row's last 32 pixels as
// set. Without memory the mask stays.
ret_status QX_IVS_Dilation_Only_r3(uint8_t* mask, int width, int height);
ret_status QX_IVS_Dilation_r7_and_Erosion_r3(uint8_t* mask, int width, int height);
ret_status QX_IVS_Erosion_r3_and_Dilation_r7(uint8_t* mask, int width, int height);

// Byte by byte, by a rectangle that reaches radiusX and radiusY pixels to each side: any non-zero pixel in it makes a
// zero one 255; any zero pixel in it clears one. Other pixels keep their value. Without memory the mask stays.
ret_status Dilation(uint8_t* mask, int width, int height, int radiusX, int radiusY);
ret_status Erosion(uint8_t* mask, int width, int height, int radiusX, int radiusY);

}  // namespace eis
