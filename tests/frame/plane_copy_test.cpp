#include "libCore/core/source/plane_copy.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/harness/calls.h"
#include "tests/harness/content.h"
#include "tests/harness/events.h"
#include "tests/harness/planes.h"
#include "tests/harness/watchdog.h"

namespace eis {
namespace {

using test::Content;
using test::Plane;

// What the copy leaves in the destination: rows of the bands that ran.
Plane<uint8_t> expectedCopy(const Plane<uint8_t>& source, const Plane<uint8_t>& before, int missingBand) {
    Plane<uint8_t> expected(before.width(), before.height(), before.pitch());
    expected.copyFrom(before);
    const int bandRows = source.height() / 4;
    for (int y = 0; y < 4 * bandRows; ++y) {
        if (y / bandRows == missingBand) continue;
        for (int x = 0; x < std::min(source.pitch(), before.pitch()); ++x) expected.at(x, y) = source.at(x, y);
    }
    return expected;
}

TEST(PlaneCopy, FourBands) {
    const struct {
        int srcPitch, dstPitch, height;
    } cases[] = {{128, 128, 8}, {1, 1, 4},     {21, 21, 12}, {22, 40, 16}, {40, 22, 9},
                 {130, 129, 6}, {300, 257, 7}, {64, 64, 3},  {64, 64, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.srcPitch << " to " << c.dstPitch << ", " << c.height << " rows");
        for (const int shift : {0, 1, 15}) {
            const Plane<uint8_t> source(c.srcPitch, c.height, c.srcPitch, {test::Placement::kAtEnd, shift});
            const Plane<uint8_t> destination(c.dstPitch, c.height, c.dstPitch);
            const Plane<uint8_t> before(c.dstPitch, c.height, c.dstPitch);
            fill(source, Content::kRandom, 1);
            fill(destination, Content::kRandom, 2);
            before.copyFrom(destination);
            const test::ResourceWatch watch;
            // The width plays no part.
            EXPECT_EQ(imgDataCopy(source.data(), destination.data(), c.srcPitch, c.height, c.dstPitch, 3), 0);
            EXPECT_EQ(watch.count(test::kThreadCreate), 4);
            EXPECT_TRUE(watch.nothingLeft());
            EXPECT_TRUE(samePlanes(destination, expectedCopy(source, before, -1)));
        }
    }
    EXPECT_TRUE(test::eventsWere({}));
}

TEST(PlaneCopy, NoBytesWithoutAPitch) {
    uint8_t source[64] = {};
    uint8_t destination[64];
    for (const auto& [srcPitch, dstPitch] : {std::pair{0, 8}, {8, 0}, {-8, 8}, {8, -8}, {INT32_MIN, 8}}) {
        std::fill(std::begin(destination), std::end(destination), uint8_t{9});
        EXPECT_EQ(imgDataCopy(source + 32, destination + 32, srcPitch, 8, dstPitch, 8), 0);
        EXPECT_EQ(std::count(std::begin(destination), std::end(destination), 9), 64);
    }
    EXPECT_EQ(imgDataCopy(source, destination, 8, -8, 8, 8), 0);
}

// Ascending byte by byte, also where that repeats what was just written.
TEST(PlaneCopy, OverlappingRows) {
    constexpr int kPitch = 96;
    constexpr int kRows = 3;
    for (const int distance : {-97, -95, -16, -1, 0, 1, 3, 15, 16, 17, 95, 96, 97}) {
        std::vector<uint8_t> memory(1000);
        for (size_t i = 0; i < memory.size(); ++i) memory[i] = static_cast<uint8_t>(i * 7 + i / 256);
        std::vector<uint8_t> expected = memory;
        for (int y = 0; y < kRows; ++y) {
            for (int x = 0; x < kPitch; ++x) expected[300 + distance + y * kPitch + x] = expected[300 + y * kPitch + x];
        }
        copyRows({memory.data() + 300, memory.data() + 300 + distance, kPitch, kPitch, kRows});
        EXPECT_EQ(memory, expected) << distance;
    }
}

TEST(PlaneCopy, FourthStartDecides) {
    const test::Deadline deadline(60);
    const Plane<uint8_t> source(40, 8);
    const Plane<uint8_t> destination(40, 8);
    const Plane<uint8_t> before(40, 8);
    fill(source, Content::kRandom, 3);
    fill(before, Content::kLow, 0);
    const int failing =
        test::failEachInTurn({.calls = test::kThreadCreate | test::kAllocation,
                              .prepare = [&] { destination.copyFrom(before); },
                              .run = [&] { return imgDataCopy(source.data(), destination.data(), 40, 8, 40, 40); },
                              .failed =
                                  [&](int result, int nth) {
                                      test::Events lines{"info i = " + std::to_string(nth - 1)};
                                      if (nth == 4) lines.push_back("info Thread Create Error!");
                                      EXPECT_EQ(result, nth == 4 ? retStsThreadError : retStsOK);
                                      EXPECT_TRUE(test::eventsWere(lines));
                                      EXPECT_TRUE(samePlanes(destination, expectedCopy(source, before, nth - 1)));
                                  },
                              .succeeded =
                                  [&](int result) {
                                      EXPECT_EQ(result, 0);
                                      EXPECT_TRUE(test::eventsWere({}));
                                      EXPECT_TRUE(samePlanes(destination, source));
                                  }});
    EXPECT_EQ(failing, 4);

    const test::FailNth fail(test::kThreadCreate, 1, 4);
    EXPECT_EQ(imgDataCopy(source.data(), destination.data(), 40, 8, 40, 40), retStsThreadError);
    EXPECT_TRUE(test::logWas({"info i = 0", "info i = 1", "info i = 2", "info i = 3", "info Thread Create Error!"}));
}

}  // namespace
}  // namespace eis
