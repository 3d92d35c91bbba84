// Formatted output into a destination of known size, with the conversions of printf.
#pragma once

#include <cstdarg>
#include <cstddef>

namespace eis {

// Both families return the number of characters written, without the terminator, or -1. On -1 the destination holds the
// empty text, where it exists and has a size; only what snprintf_s may keep of a longer text, as said there, stays.

// A text that does not fit is -1.
int sprintf_s(char* dest, size_t destMax, const char* format, ...) __attribute__((format(printf, 3, 4)));
int vsprintf_s(char* dest, size_t destMax, const char* format, va_list args) __attribute__((format(printf, 3, 0)));

// Writes at most count characters. A longer text is -1; the part that fits is kept when destMax exceeds count, and the
// destination is emptied when it does not.
int snprintf_s(char* dest, size_t destMax, size_t count, const char* format, ...) __attribute__((format(printf, 4, 5)));
int vsnprintf_s(char* dest, size_t destMax, size_t count, const char* format, va_list args)
    __attribute__((format(printf, 4, 0)));

}  // namespace eis
