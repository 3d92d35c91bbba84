// FNV-1a over table entries, low byte first.
#pragma once

#include <cstdint>
#include <span>

namespace eis::test {

inline uint64_t digest(std::span<const int16_t> entries) {
    uint64_t hash = 0xcbf29ce484222325;
    for (const int16_t entry : entries) {
        hash = (hash ^ (static_cast<uint16_t>(entry) & 0xff)) * 0x100000001b3;
        hash = (hash ^ (static_cast<uint16_t>(entry) >> 8)) * 0x100000001b3;
    }
    return hash;
}

}  // namespace eis::test
