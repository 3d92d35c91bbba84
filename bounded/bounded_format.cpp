#include "bounded/bounded_format.h"

#include <cerrno>
#include <cstdio>

#include "bounded/bounded_memory.h"

namespace eis {

namespace {

constexpr int kFailedConversion = -1;
constexpr int kDoesNotFit = -2;

int cleared(char* dest, size_t destMax) {
    if (dest != nullptr && destMax > 0) dest[0] = '\0';
    return -1;
}

bool isUsable(const char* dest, size_t destMax, const char* format) {
    return dest != nullptr && format != nullptr && destMax > 0 && destMax <= kMaxBoundedSize;
}

// The number of characters, or one of the two outcomes above with the last byte of the limit set to the terminator.
__attribute__((format(printf, 3, 0))) int formatWithin(char* dest, size_t limit, const char* format, va_list args) {
    const int length = std::vsnprintf(dest, limit, format, args);
    if (length >= 0 && static_cast<size_t>(length) < limit) return length;
    // A length beyond what an int can tell is no failed conversion: the text is too long for any limit.
    const bool tooLong = length >= 0 || errno == EOVERFLOW;
    dest[limit - 1] = '\0';
    return tooLong ? kDoesNotFit : kFailedConversion;
}

}  // namespace

int vsprintf_s(char* dest, size_t destMax, const char* format, va_list args) {
    if (!isUsable(dest, destMax, format)) return cleared(dest, destMax);
    const int length = formatWithin(dest, destMax, format, args);
    return length >= 0 ? length : cleared(dest, destMax);
}

int vsnprintf_s(char* dest, size_t destMax, size_t count, const char* format, va_list args) {
    if (!isUsable(dest, destMax, format) || count >= kMaxBoundedSize) return cleared(dest, destMax);
    const bool keepsWhatFits = destMax > count;
    const int length = formatWithin(dest, keepsWhatFits ? count + 1 : destMax, format, args);
    if (length >= 0) return length;
    return keepsWhatFits && length == kDoesNotFit ? -1 : cleared(dest, destMax);
}

int sprintf_s(char* dest, size_t destMax, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int length = vsprintf_s(dest, destMax, format, args);
    va_end(args);
    return length;
}

int snprintf_s(char* dest, size_t destMax, size_t count, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int length = vsnprintf_s(dest, destMax, count, format, args);
    va_end(args);
    return length;
}

}  // namespace eis
