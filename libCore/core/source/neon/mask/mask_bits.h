// Morphology of binary masks packed to one bit a pixel.
//
// A packed row is (width + 31) / 32 words, without gaps between rows; pixel x is bit x % 32 of word x / 32. padBits is
// how many bits at the end of a row's last word belong to no pixel, 0 to 31; they may be left set. A `_plain` form is
// the definition, bit by bit.
#pragma once

#include <cstdint>

namespace eis {

// Takes the low bit of each byte of a mask, whose bytes are 0 or 255. Clears wordCount words first.
void IVS_PackBits(const uint8_t* mask, uint32_t* words, int width, int height, int wordCount);
void IVS_PackBits_plain(const uint8_t* mask, uint32_t* words, int width, int height, int wordCount);

// Writes 255 for a set bit, 0 for a clear one, to the width bytes of each row.
void IVS_UnpackBits(uint8_t* mask, const uint32_t* words, int width, int height, int wordCount);
void IVS_UnpackBits_plain(uint8_t* mask, const uint32_t* words, int width, int height, int wordCount);

// Dilation by a square of radius 3 or 7; nothing comes in from outside the plane. scratchWords is as large as words. A
// height below 1 does nothing.
void IVS_Dilation_r3(uint32_t* words, uint32_t* scratchWords, int height, int wordCount, int padBits);
void IVS_Dilation_r3_plain(uint32_t* words, uint32_t* scratchWords, int height, int wordCount, int padBits);
void IVS_Dilation_r7(uint32_t* words, uint32_t* scratchWords, int height, int wordCount, int padBits);
void IVS_Dilation_r7_plain(uint32_t* words, uint32_t* scratchWords, int height, int wordCount, int padBits);

// Makes bytes at or above the threshold 255, others 0, and dilates by a square of radius 3: binarizing, packing,
// dilation and unpacking in one sweep. Words and scratchWords have room for a packed copy each. Planes of more than 32
// columns and more than two rows.
void IVS_BinarizeDilation_r3(uint8_t* mask, uint8_t threshold, int width, int height, uint32_t* words,
                             uint32_t* scratchWords);

// Erosion by a square of radius 3; the plane's edge does not erode, since all outside counts as set. At a padBits of 0
// the last word of every row counts as set too.
void IVS_Erosion_r3(uint32_t* words, uint32_t* scratchWords, int height, int wordCount, int padBits);
void IVS_Erosion_r3_plain(uint32_t* words, uint32_t* scratchWords, int height, int wordCount, int padBits);

}  // namespace eis
