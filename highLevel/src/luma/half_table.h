// The half from its middle on of a table that is odd around it, laid out for look-ups in registers.
#pragma once

#include <cstdint>

namespace eis {

inline constexpr int kHalfTableEntries = 128;

struct HalfTable {
    alignas(16) int16_t words[kHalfTableEntries];
    // Of the words, as the target wants them.
    alignas(16) uint8_t low[kHalfTableEntries];
    alignas(16) uint8_t high[kHalfTableEntries];
};

}  // namespace eis
