// Numbers at the head of a text: how far they reach, and their value in the type that takes them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace eis {

// The white space of the standard streams and scan functions in the classic locale.
inline bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// An optional sign and digits.
struct IntegerText {
    size_t length = 0;  // characters, 0 when the text does not begin with a number
    uint64_t magnitude = 0;
    bool negative = false;
    bool overflow = false;  // the magnitude is beyond 64 bits
};

// Reads no further than width characters. Base 0 takes the base from the text: 0x, 0 or neither. In base 16 the prefix
// may stand or not.
IntegerText scanInteger(const char* text, size_t width, int base);

// A negative number into an unsigned type wraps, as long as its magnitude fits.
template <class T>
bool isInRange(const IntegerText& number) {
    constexpr auto top = static_cast<uint64_t>(std::numeric_limits<T>::max());
    return !number.overflow && number.magnitude <= top + (std::is_signed_v<T> && number.negative ? 1 : 0);
}

// The value, or the nearest limit of a type that cannot hold it.
template <class T>
T saturatedValue(const IntegerText& number) {
    if (!isInRange<T>(number))
        return std::is_signed_v<T> && number.negative ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
    return static_cast<T>(number.negative ? 0 - number.magnitude : number.magnitude);
}

// The length of what a scan takes for one floating-point number, 0 for none: the longest beginning of such a number, be
// it finished or not ("1e"). Decimal form, and unless decimalOnly the hexadecimal one, "inf", "infinity" and "nan".
size_t floatTextLength(const char* text, size_t width, bool decimalOnly);

// The value of a floating-point number, rounded once, straight to the type. The decimal point is that of the process's
// locale, of streamFloatValue the one of the classic locale; used receives the characters that went into the value.
// False when there is no memory for a very long number.
bool floatValue(const char* text, size_t length, float* value);
bool floatValue(const char* text, size_t length, double* value);
bool streamFloatValue(const char* text, size_t length, float* value, size_t* used);

}  // namespace eis
