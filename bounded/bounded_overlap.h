// Where two areas lie to each other.
#pragma once

#include <cstddef>
#include <cstdint>

namespace eis {

// Whether they share a byte, or one that is empty lies within the other. Addresses are compared as numbers: the areas
// need not belong to one object.
inline bool areasOverlap(const void* a, size_t aBytes, const void* b, size_t bBytes) {
    const auto first = reinterpret_cast<uintptr_t>(a);
    const auto second = reinterpret_cast<uintptr_t>(b);
    return first < second ? second - first < aBytes : first - second < bBytes;
}
inline bool areasOverlap(const void* a, const void* b, size_t bytes) {
    return areasOverlap(a, bytes, b, bytes);
}

}  // namespace eis
