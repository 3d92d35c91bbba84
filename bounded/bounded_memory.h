// Memory routines that take the size of their destination and refuse to run past it.
//
// A refusal is the returned status and nothing else: no routine logs or aborts. On a status with "Cleared" in its name
// the destination is cleared, all destMax bytes for the routines here and the first byte for those of bounded_string.h,
// so that a later reader sees an empty result and not a half-written one.
#pragma once

#include <cstddef>
#include <cstdint>

namespace eis {

using BoundedStatus = int32_t;

enum : BoundedStatus {
    errNone = 0,
    errNullDest = 22,
    errBadSize = 34,  // destMax outside 1..kMaxBoundedSize; nothing is touched
    errNullSrcCleared = 150,
    errTooSmallCleared = 162,  // the source does not fit, or a count is out of range
    errOverlapCleared = 182
};

inline constexpr size_t kMaxBoundedSize = 2147483647;

// Copies count bytes. A source that is the destination itself is no overlap: 0, nothing to copy.
BoundedStatus memcpy_s(void* dest, size_t destMax, const void* src, size_t count);
// The same for areas that may overlap.
BoundedStatus memmove_s(void* dest, size_t destMax, const void* src, size_t count);
// Fills count bytes with c; a count above destMax fills destMax bytes, with c too, and is errTooSmallCleared.
BoundedStatus memset_s(void* dest, size_t destMax, int c, size_t count);

// Copies the version text of this family into the buffer, unless that is null or has no size, and stores its number,
// unless version is null. A text that does not fit leaves an empty one.
void getBoundedLibVersion(char* buffer, int size, uint16_t* version);

}  // namespace eis
