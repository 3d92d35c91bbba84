// Where two areas of one length lie to each other.
#pragma once

#include <cstddef>
#include <cstdint>

namespace eis {

// Whether they share a byte. Addresses are compared as numbers: the areas need not belong to one object.
inline bool areasOverlap(const void* a, const void* b, size_t bytes) {
    const auto first = reinterpret_cast<uintptr_t>(a);
    const auto second = reinterpret_cast<uintptr_t>(b);
    return (first < second ? second - first : first - second) < bytes;
}

}  // namespace eis
