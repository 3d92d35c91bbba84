#include "tests/harness/content.h"

#include <algorithm>
#include <cmath>

namespace eis::test {

namespace {

// The output function of splitmix64.
uint64_t mix(uint64_t value) {
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9u;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EBu;
    return value ^ (value >> 31);
}

double unitOf(uint64_t bits) {
    return static_cast<double>(bits >> 11) * 0x1p-53;
}

double noiseAt(int x, int y, uint64_t seed) {
    return unitOf(mix(seed + 0x9E3779B97F4A7C15u * (static_cast<uint64_t>(y) << 32 | static_cast<uint32_t>(x))));
}

// Exact in binary, so that all targets get the same picture: a triangle wave in 0..1 with the given period.
double wave(int position, int period) {
    const int phase = position % period;
    return std::abs(2 * phase - period) / static_cast<double>(period);
}

double natural(int x, int y, uint64_t seed) {
    const int shift = static_cast<int>(seed % 61);
    double value = 0.2 + 0.3 * wave(x + y + shift, 128) + 0.2 * wave(2 * y + x + 3 * shift, 256);
    const bool inBar = (x + y / 4 + shift) % 96 > 80;
    const bool inBox = (x + shift) / 40 % 3 == 1 && (y + shift) / 28 % 3 == 1;
    if (inBar) value += 0.25;
    if (inBox) value -= 0.15;
    return std::clamp(value + 0.04 * (noiseAt(x, y, seed) - 0.5), 0.0, 1.0);
}

}  // namespace

Random::Random(uint64_t seed, const char* file, int line)
    : state_(seed), trace_(file, line, "seed " + std::to_string(seed)) {}

uint64_t Random::bits() {
    state_ += 0x9E3779B97F4A7C15u;
    return mix(state_);
}

int64_t Random::in(int64_t low, int64_t high) {
    return low + static_cast<int64_t>(bits() % (static_cast<uint64_t>(high - low) + 1));
}

double Random::unit() {
    return unitOf(bits());
}

const char* nameOf(Content content) {
    constexpr const char* kNames[] = {"random", "low", "high", "alternating", "single", "natural"};
    return kNames[static_cast<int>(content)];
}

double sampleOf(Content content, int x, int y, int width, int height, uint64_t seed) {
    switch (content) {
        case Content::kRandom:
            return noiseAt(x, y, seed);
        case Content::kLow:
            return 0;
        case Content::kHigh:
            return 1;
        case Content::kAlternating:
            return (x + y + static_cast<int>(seed & 1)) & 1;
        case Content::kSingle:
            return static_cast<uint64_t>(x) == mix(seed) % width && static_cast<uint64_t>(y) == mix(seed + 1) % height;
        case Content::kNatural:
            return natural(x, y, seed);
    }
    return 0;
}

uint64_t digest(const void* memory, size_t bytes) {
    uint64_t value = 0xCBF29CE484222325u;
    const auto* byte = static_cast<const uint8_t*>(memory);
    for (size_t i = 0; i < bytes; ++i) value = (value ^ byte[i]) * 0x100000001B3u;
    return value;
}

}  // namespace eis::test
