// What the two forms of a kernel write, side by side.
#pragma once

#include "tests/harness/kernel_cases.h"

namespace eis::test {

// Equal buffers before, equal buffers afterwards.
template <class T>
struct Twins {
    Plane<T> plain;
    Plane<T> vectors;

    Twins(const KernelCase& c, int width, int height, int pitch)
        : plain(width, height, pitch, c.placementFor<T>(), true),
          vectors(width, height, pitch, c.placementFor<T>(), true) {
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

}  // namespace eis::test
