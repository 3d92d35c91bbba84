// A picture between protected pages, with what it held before a call and what it must hold after it.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "libCore/core/source/frame/alignment.h"
#include "tests/denoise/settings.h"
#include "tests/harness/planes.h"

namespace eis::test {

struct TestPlane {
    Plane<uint8_t> now;
    Plane<uint8_t> input;
    Plane<uint8_t> expected;

    TestPlane(int width, int height, int pitch, Placement placement, Content content, uint64_t seed)
        : now(width, height, pitch, placement, true),
          input(width, height, pitch, placement, true),
          expected(width, height, pitch, placement, true) {
        fillPicture(now, content, seed);
        input.copyFrom(now);
        expected.copyFrom(now);
    }
};

class TestPicture {
  public:
    int width;
    int height;
    TestPlane planes[3];  // luma, first chroma, second chroma

    TestPicture(int w, int h, int chromaPitch, Placement placement, Content content, uint64_t seed)
        : width(w),
          height(h),
          planes{{w, h, stride128(w), placement, content, seed},
                 {w / 2, h / 2, chromaPitch, placement, content, seed + 1},
                 {w / 2, h / 2, chromaPitch, placement, content, seed + 2}} {}

    // Puts the inputs back.
    void restore() {
        for (const TestPlane& plane : planes) plane.now.copyFrom(plane.input);
    }
    void startExpected() {
        for (const TestPlane& plane : planes) plane.expected.copyFrom(plane.input);
    }

    // Whole buffers, padding included.
    testing::AssertionResult asExpected() const { return holds(&TestPlane::expected); }
    testing::AssertionResult untouched() const { return holds(&TestPlane::input); }

    // Which picture the core rows of band k show in a plane, of a height that is a multiple of 16.
    enum class Core { kInput, kExpected, kMixed };
    Core coreOf(int plane, int k) const {
        const TestPlane& p = planes[plane];
        const int rows = p.now.height() / 4;
        bool isInput = true;
        bool isExpected = true;
        for (int y = k * rows; y < (k + 1) * rows; ++y) {
            isInput = isInput && std::memcmp(p.now.row(y), p.input.row(y), p.now.width()) == 0;
            isExpected = isExpected && std::memcmp(p.now.row(y), p.expected.row(y), p.now.width()) == 0;
        }
        return isInput ? Core::kInput : isExpected ? Core::kExpected : Core::kMixed;
    }

  private:
    testing::AssertionResult holds(Plane<uint8_t> TestPlane::*what) const {
        for (const TestPlane& plane : planes) {
            if (const auto same = samePlanes(plane.*what, plane.now); !same) return same;
        }
        return testing::AssertionSuccess();
    }
};

}  // namespace eis::test
