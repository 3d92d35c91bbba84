// The middle one of three samples.
#pragma once

#include <algorithm>
#include <cstdint>

namespace eis {

inline uint8_t medianOfThree(uint8_t a, uint8_t b, uint8_t c) {
    return std::max(std::min(a, b), std::min(std::max(a, b), c));
}

}  // namespace eis
