// Loads and stores in shared memory, where nothing is promised about alignment.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace eis {

template <class T>
T loadUnaligned(const void* address) {
    static_assert(std::is_trivially_copyable_v<T>);
    T value;
    std::memcpy(&value, address, sizeof value);
    return value;
}

template <class T>
void storeUnaligned(void* address, T value) {
    static_assert(std::is_trivially_copyable_v<T>);
    std::memcpy(address, &value, sizeof value);
}

// The 32-bit word at a word index of a block.
inline uint32_t loadWord(const void* block, int64_t word) {
    return loadUnaligned<uint32_t>(static_cast<const uint8_t*>(block) + word * 4);
}

}  // namespace eis
