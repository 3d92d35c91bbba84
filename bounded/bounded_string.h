// Copies of null-terminated texts into a destination of known size. Statuses are those of bounded_memory.h.
#pragma once

#include "bounded/bounded_memory.h"

namespace eis {

// Copies through the terminator.
BoundedStatus strcpy_s(char* dest, size_t destMax, const char* src);
// Copies at most count characters and always terminates, so that a text of destMax characters or more never fits. A
// count of 0 gives the empty text.
BoundedStatus strncpy_s(char* dest, size_t destMax, const char* src, size_t count);

}  // namespace eis
