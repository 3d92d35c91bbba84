// Sizes, placements and contents that a kernel's two forms are compared over.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/harness/content.h"
#include "tests/harness/planes.h"
#include "tests/harness/targets.h"

namespace eis::test {

template <class T>
struct FilledPlane;

struct KernelCase {
    int width;
    int height;
    Content content;
    Placement placement;
    uint64_t seed;

    // Of a plane whose rows may have padding.
    int pitch() const { return width + static_cast<int>(seed % 3) * 5; }

    template <class T>
    FilledPlane<T> plane(int64_t low, int64_t high, int planePitch, uint64_t salt) const {
        return {*this, low, high, planePitch, salt};
    }
    FilledPlane<uint8_t> bytes(uint64_t salt) const;
};

// A tight plane with a case's content; planes of one salt are equal.
template <class T>
struct FilledPlane : Plane<T> {
    FilledPlane(const KernelCase& c, int64_t low, int64_t high, int pitch, uint64_t salt)
        : Plane<T>(c.width, c.height, pitch, c.placement, true) {
        fill(*this, c.content, c.seed * 16 + salt, low, high);
    }
};

inline FilledPlane<uint8_t> KernelCase::bytes(uint64_t salt) const {
    return plane<uint8_t>(0, 255, width, salt);
}

// What the two forms of a kernel write: equal planes before, equal buffers afterwards.
template <class T>
struct Twins {
    Plane<T> plain;
    Plane<T> vectors;

    Twins(const KernelCase& c, int width, int height, int pitch)
        : plain(width, height, pitch, c.placement, true), vectors(width, height, pitch, c.placement, true) {
        plain.copyFrom(vectors);
    }
    Twins(const KernelCase& c, int pitch) : Twins(c, c.width, c.height, pitch) {}
    // With content to work on.
    Twins(const KernelCase& c, int pitch, int64_t low, int64_t high, uint64_t salt) : Twins(c, pitch) {
        fill(vectors, c.content, c.seed * 16 + salt, low, high);
        plain.copyFrom(vectors);
    }

    testing::AssertionResult agree() const {
        const auto padding = vectors.paddingIntact();
        return padding ? samePlanes(plain, vectors) : padding;
    }
};

// Runs check(case) under each vector target: widths to two of the widest vectors and three, and around the groups of
// eight and sixteen; every alignment of the sources; memory that ends or begins at a protected page.
template <class Check>
void forEachCase(Check check, int alignment = 1) {
    forEachTarget([&] {
        uint64_t seed = 0;
        for (int width = 1; width <= 131; ++width) {
            if (width > 36 && width % 32 > 3 && width % 32 < 29) continue;
            for (const int height : {1, 2, 3, 7}) {
                const Content content = kAllContents[seed % 6];
                const auto side = (seed / 6) % 2 == 0 ? Placement::kAtEnd : Placement::kAtStart;
                const int shift = side == Placement::kAtEnd ? 0 : static_cast<int>(seed % 17) * alignment;
                const testing::ScopedTrace trace(__FILE__, __LINE__,
                                                 std::to_string(width) + "x" + std::to_string(height) + " " +
                                                     nameOf(content) + " seed " + std::to_string(seed));
                check(KernelCase{width, height, content, {side, shift}, seed});
                ++seed;
                if (testing::Test::HasFailure()) return;
            }
        }
    });
}

// The outputs of all cases as one number; it starts afresh with the first case of each target.
class CaseDigest {
  public:
    template <class T>
    void add(const KernelCase& c, const Plane<T>& plane) {
        if (c.seed == 0) value_ = 0;
        value_ = value_ * 0x100000001B3u ^ digest(plane);
    }
    uint64_t value() const { return value_; }

  private:
    uint64_t value_ = 0;
};

}  // namespace eis::test
