// Arithmetic that must give the same value on every target: saturating conversion, wrapping 32-bit sums and products.
#pragma once

#include <cmath>
#include <cstdint>

namespace eis {

// Float to integer as the target's conversion does it: truncated toward zero, saturated, 0 for a NaN.
inline int32_t truncSat32(double value) {
#ifdef __aarch64__
    // The one instruction that does so, which no compiler makes of the comparisons.
    int32_t whole;
    __asm__("fcvtzs %w0, %d1" : "=r"(whole) : "w"(value));
    return whole;
#else
    if (!(value == value)) return 0;
    if (value >= 2147483647.0) return INT32_MAX;
    if (value <= -2147483648.0) return INT32_MIN;
    return static_cast<int32_t>(value);
#endif
}

// Two's complement wrap.
inline int32_t wrapAdd(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
inline int32_t wrapSub(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
inline int32_t wrapMul(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}
// The magnitude; the minimum stays what it is.
inline int32_t wrapAbs(int32_t a) {
    return a < 0 ? wrapSub(0, a) : a;
}

}  // namespace eis
