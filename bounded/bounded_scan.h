// Scanned input, with the conversions d i u o x X f e g s c [ n % of scanf, field widths, the suppressing star and the
// lengths hh h l ll.
//
// Every destination of s, c and [ is followed by its size in characters, a size_t. A string that does not fit ends the
// scan and leaves that destination empty. An integer beyond its destination's range becomes the nearest limit. Only a
// double (length l) or a float takes a floating-point number.
#pragma once

#include <cstdarg>

namespace eis {

// The number of fields converted. -1 for a null or empty text, a null format, and a text that ends ahead of the first
// conversion.
int sscanf_s(const char* text, const char* format, ...);
int vsscanf_s(const char* text, const char* format, va_list args);

}  // namespace eis
