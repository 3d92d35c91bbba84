// Seeds of independent random streams, the same on every machine and for any number of threads.
#pragma once

#include <cstdint>

namespace eishost {

// The finaliser of SplitMix64 (Steele, Lea, Flood, Fast splittable pseudorandom number generators, OOPSLA 2014) over
// the stream'th state behind `seed`.
constexpr std::uint64_t mixSeed(std::uint64_t seed, std::uint64_t stream) {
    std::uint64_t value = seed + (stream + 1) * 0x9e3779b97f4a7c15U;
    value = (value ^ (value >> 30)) * 0xbf58476d1ce4e5b9U;
    value = (value ^ (value >> 27)) * 0x94d049bb133111ebU;
    return value ^ (value >> 31);
}

}  // namespace eishost
