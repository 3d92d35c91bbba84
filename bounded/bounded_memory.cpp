#include "bounded/bounded_memory.h"

#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

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

// A block beyond the caches is written past them: plain stores would read each of its lines from memory first, and the
// C library turns to streaming later than it pays.
void fill(uint8_t* dest, int c, size_t count) {
#ifdef __SSE2__
    constexpr size_t kStreamFrom = size_t{4} << 20;
    constexpr size_t kLine = 64;
    if (count >= kStreamFrom) {
        const size_t head = -reinterpret_cast<uintptr_t>(dest) % kLine;
        std::memset(dest, c, head);
        dest += head;
        count -= head;
        const __m128i value = _mm_set1_epi8(static_cast<char>(c));
        for (; count >= kLine; count -= kLine) {
            for (size_t i = 0; i < kLine; i += sizeof value) {
                _mm_stream_si128(reinterpret_cast<__m128i*>(dest + i), value);
            }
            dest += kLine;
        }
        _mm_sfence();
    }
#endif
    std::memset(dest, c, count);
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
    fill(static_cast<uint8_t*>(dest), c, fits ? count : destMax);
    return fits ? errNone : errTooSmallCleared;
}

void getBoundedLibVersion(char* buffer, int size, uint16_t* version) {
    if (buffer != nullptr && size > 0) (void)strcpy_s(buffer, static_cast<size_t>(size), kBoundedVersionText);
    if (version != nullptr) *version = kBoundedVersionNumber;
}

}  // namespace eis
