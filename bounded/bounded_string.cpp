#include "bounded/bounded_string.h"

#include <algorithm>
#include <cstring>

#include "bounded/bounded_overlap.h"

namespace eis {

namespace {

BoundedStatus cleared(char* dest, BoundedStatus status) {
    dest[0] = '\0';
    return status;
}

BoundedStatus checkTexts(char* dest, size_t destMax, const char* src) {
    if (destMax == 0 || destMax > kMaxBoundedSize) return errBadSize;
    if (dest == nullptr) return errNullDest;
    if (src == nullptr) return cleared(dest, errNullSrcCleared);
    return errNone;
}

// Copies the source's first characters, at most count of them, and a terminator.
BoundedStatus copyText(char* dest, size_t destMax, const char* src, size_t count) {
    if (dest == src) return errNone;
    const size_t length = strnlen(src, std::min(count, destMax));
    if (length == destMax) return cleared(dest, errTooSmallCleared);
    if (areasOverlap(dest, src, length + 1)) return cleared(dest, errOverlapCleared);
    std::memcpy(dest, src, length);
    dest[length] = '\0';
    return errNone;
}

}  // namespace

BoundedStatus strcpy_s(char* dest, size_t destMax, const char* src) {
    const BoundedStatus status = checkTexts(dest, destMax, src);
    return status != errNone ? status : copyText(dest, destMax, src, destMax);
}

BoundedStatus strncpy_s(char* dest, size_t destMax, const char* src, size_t count) {
    const BoundedStatus status = checkTexts(dest, destMax, src);
    if (status != errNone) return status;
    if (count > kMaxBoundedSize) return cleared(dest, errTooSmallCleared);
    if (count == 0) return cleared(dest, errNone);
    return copyText(dest, destMax, src, count);
}

}  // namespace eis
