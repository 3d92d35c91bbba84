// Between bytes and Q7 samples: signed 16-bit values that hold a byte times 128. Planes are contiguous.
#pragma once

#include <cstdint>

namespace eis {

// Bytes to Q7, exact.
void WidenQ7(const uint8_t* pSrc, int16_t* pDst, int width, int height);
void WidenQ7_plain(const uint8_t* pSrc, int16_t* pDst, int width, int height);

// Q7 to bytes, rounded to nearest (half upward) and saturated.
void NarrowQ7Round(const int16_t* pSrc, uint8_t* pDst, int width, int height);
void NarrowQ7Round_plain(const int16_t* pSrc, uint8_t* pDst, int width, int height);

// The same of two rows' sum, modulo 2^16.
void NarrowQ7Sum(const int16_t* pA, const int16_t* pB, uint8_t* pDst, int width);
void NarrowQ7Sum_plain(const int16_t* pA, const int16_t* pB, uint8_t* pDst, int width);

}  // namespace eis
