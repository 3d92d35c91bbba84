// The planes that the two forms of a kernel are compared on.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>

#include "tests/harness/content.h"
#include "tests/harness/planes.h"
#include "tests/harness/targets.h"

namespace eis::test {

struct KernelCase {
    int width;
    int height;
    Content content;
    Placement placement;  // shift in samples
    uint64_t seed;        // counts the cases, from 0

    // Of a plane whose rows may have padding.
    int pitch() const { return width + static_cast<int>(seed % 3) * 5; }

    template <class T>
    Placement placementFor() const {
        return {placement.side, placement.shift * static_cast<int>(sizeof(T))};
    }
    // As all planes of a case stands where the case says, without padding of its last row; starts as canary.
    template <class T>
    Plane<T> empty(int planeWidth, int planeHeight, int planePitch) const {
        return Plane<T>(planeWidth, planeHeight, planePitch, placementFor<T>(), true);
    }
    // Filled with the case's content; the salt tells planes of one case apart.
    template <class T>
    struct Filled : Plane<T> {
        Filled(const KernelCase& c, int planeWidth, int planeHeight, int planePitch, uint64_t salt, int64_t low,
               int64_t high)
            : Plane<T>(planeWidth, planeHeight, planePitch, c.placementFor<T>(), true) {
            fill(*this, c.content, c.seed * 16 + salt, low, high);
        }
    };
    template <class T>
    Filled<T> filled(int planeWidth, int planeHeight, int planePitch, uint64_t salt, int64_t low, int64_t high) const {
        return Filled<T>(*this, planeWidth, planeHeight, planePitch, salt, low, high);
    }
    Filled<uint8_t> bytes(int planeWidth, int planeHeight, int planePitch, uint64_t salt = 0) const {
        return filled<uint8_t>(planeWidth, planeHeight, planePitch, salt, 0, 255);
    }
};

// Runs check(case) under each vector target: each width to two of the widest vectors and three more, few rows, every
// content, every alignment, memory that ends or begins at a protected page.
template <class Check>
void forEachCase(Check check) {
    forEachTarget([&] {
        uint64_t seed = 0;
        for (int width = 1; width <= 131; ++width) {
            for (const int height : {1, 2, 3, 4, 7, 10}) {
                const Content content = kAllContents[(seed + width) % 6];
                const auto side = seed % 5 < 3 ? Placement::kAtEnd : Placement::kAtStart;
                const int shift = side == Placement::kAtEnd ? 0 : static_cast<int>(seed % 67);
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

// Whether the samples are the same and nothing else was written.
template <class T>
testing::AssertionResult agree(const Plane<T>& expected, const Plane<T>& actual) {
    for (int y = 0; y < expected.height(); ++y) {
        for (int x = 0; x < expected.width(); ++x) {
            if (expected.at(x, y) == actual.at(x, y)) continue;
            return testing::AssertionFailure()
                   << "at x " << x << ", y " << y << ": " << +actual.at(x, y) << " in place of " << +expected.at(x, y);
        }
    }
    return actual.paddingIntact();
}

// The outputs of all cases as one number; it starts afresh with each target.
class CaseDigest {
  public:
    template <class T>
    void add(const KernelCase& c, const Plane<T>& plane) {
        if (c.seed == 0 && previous_ != 0) value_ = 0;
        previous_ = c.seed;
        value_ = value_ * 0x100000001B3u ^ digest(plane);
    }
    uint64_t value() const { return value_; }

  private:
    uint64_t value_ = 0;
    uint64_t previous_ = 0;
};

// The two forms of a kernel over all cases. form(case, plain) gives the plane, or a tuple of the planes, that the plain
// or the vector form makes of the case: both must agree, and all of them come to a known digest.
template <class Form>
void expectFormsAgree(uint64_t expected, Form form) {
    const auto check = [](CaseDigest& all, const KernelCase& c, const auto& plain, const auto& vectors) {
        EXPECT_TRUE(agree(plain, vectors));
        all.add(c, plain);
    };
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const auto plain = form(c, true);
        const auto vectors = form(c, false);
        if constexpr (requires { plain.data(); }) {
            check(all, c, plain, vectors);
        } else {
            std::apply(
                [&](const auto&... p) { std::apply([&](const auto&... v) { (check(all, c, p, v), ...); }, vectors); },
                plain);
        }
    });
    EXPECT_EQ(all.value(), expected);
}

// Copies samples, not padding, which tells planes apart.
template <class T>
void copySamples(const Plane<T>& from, const Plane<T>& to) {
    for (int y = 0; y < from.height(); ++y) std::memcpy(to.row(y), from.row(y), from.width() * sizeof(T));
}

}  // namespace eis::test
