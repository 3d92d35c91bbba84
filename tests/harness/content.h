// What planes are filled with, reproducible random numbers, and digests that pin outputs.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "tests/harness/planes.h"

namespace eis::test {

// A generator with the same sequence on every machine; while it lives, a failure shows the seed.
class Random {
  public:
    explicit Random(uint64_t seed, const char* file = __builtin_FILE(), int line = __builtin_LINE());

    uint64_t bits();
    int64_t in(int64_t low, int64_t high);  // both included
    double unit();                          // from 0 to below 1

  private:
    uint64_t state_;
    testing::ScopedTrace trace_;
};

enum class Content { kRandom, kLow, kHigh, kAlternating, kSingle, kNatural };
inline constexpr Content kAllContents[] = {Content::kRandom,      Content::kLow,    Content::kHigh,
                                           Content::kAlternating, Content::kSingle, Content::kNatural};
const char* nameOf(Content content);

// The sample of a content at a position, as a fraction of the range: smooth areas, edges and a little noise for
// kNatural; one high sample on a low ground, placed by the seed, for kSingle.
double sampleOf(Content content, int x, int y, int width, int height, uint64_t seed);

// Fills the samples of a plane, not its padding, with values from low to high.
template <class T>
void fill(const Plane<T>& plane, Content content, uint64_t seed, int64_t low, int64_t high) {
    for (int y = 0; y < plane.height(); ++y) {
        for (int x = 0; x < plane.width(); ++x) {
            const double fraction = sampleOf(content, x, y, plane.width(), plane.height(), seed);
            plane.at(x, y) = static_cast<T>(low + std::llround(fraction * static_cast<double>(high - low)));
        }
    }
}
inline void fill(const Plane<uint8_t>& plane, Content content, uint64_t seed) {
    fill(plane, content, seed, 0, 255);
}

// FNV-1a, 64 bits.
uint64_t digest(const void* memory, size_t bytes);
// Of the samples, without padding.
template <class T>
uint64_t digest(const Plane<T>& plane) {
    uint64_t value = digest(nullptr, 0);
    for (int y = 0; y < plane.height(); ++y) {
        value = value * 0x100000001B3u ^ digest(plane.row(y), plane.width() * sizeof(T));
    }
    return value;
}

}  // namespace eis::test
