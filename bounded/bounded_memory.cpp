#include "bounded/bounded_memory.h"

#include <cstring>

#include "bounded/bounded_overlap.h"
#include "bounded/bounded_string.h"

namespace eis {

namespace {

constexpr char kBoundedVersionText[] = "Orvanta Secure C 1.8";
constexpr uint16_t kBoundedVersionNumber = 264;

BoundedStatus cleared(void* dest, size_t destMax, BoundedStatus status) {
    std::memset(dest, 0, destMax);
    return status;
}

BoundedStatus checkCopy(void* dest, size_t destMax, const void* src, size_t count) {
    if (destMax == 0 || destMax > kMaxBoundedSize) return errBadSize;
    if (dest == nullptr) return errNullDest;
    if (src == nullptr) return cleared(dest, destMax, errNullSrcCleared);
    if (count > destMax) return cleared(dest, destMax, errTooSmallCleared);
    return errNone;
}

}  // namespace

BoundedStatus memcpy_s(void* dest, size_t destMax, const void* src, size_t count) {
    const BoundedStatus status = checkCopy(dest, destMax, src, count);
    if (status != errNone || dest == src) return status;
    if (areasOverlap(dest, src, count)) return cleared(dest, destMax, errOverlapCleared);
    std::memcpy(dest, src, count);
    return errNone;
}

BoundedStatus memmove_s(void* dest, size_t destMax, const void* src, size_t count) {
    const BoundedStatus status = checkCopy(dest, destMax, src, count);
    if (status != errNone) return status;
    std::memmove(dest, src, count);
    return errNone;
}

BoundedStatus memset_s(void* dest, size_t destMax, int c, size_t count) {
    if (destMax == 0 || destMax > kMaxBoundedSize) return errBadSize;
    if (dest == nullptr) return errNullDest;
    const bool fits = count <= destMax;
    std::memset(dest, c, fits ? count : destMax);
    return fits ? errNone : errTooSmallCleared;
}

void getBoundedLibVersion(char* buffer, int size, uint16_t* version) {
    if (buffer != nullptr && size > 0) (void)strcpy_s(buffer, static_cast<size_t>(size), kBoundedVersionText);
    if (version != nullptr) *version = kBoundedVersionNumber;
}

}  // namespace eis
