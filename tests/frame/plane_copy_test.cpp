#include "libCore/core/source/frame/plane_copy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/harness/calls.h"
#include "tests/harness/content.h"
#include "tests/harness/events.h"
#include "tests/harness/planes.h"

namespace eis {
namespace {

using test::Content;
using test::Plane;

// Every fourth of the rows by a thread of its own; the width plays no part, and without a pitch there is nothing to do.
TEST(PlaneCopy, FourBands) {
    const struct {
        int srcPitch, dstPitch, height;
    } cases[] = {{128, 128, 8}, {1, 1, 4}, {22, 40, 16}, {300, 257, 7}, {64, 64, 3}, {0, 8, 8}, {8, 0, 8}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.srcPitch << " to " << c.dstPitch << ", " << c.height << " rows");
        for (const int shift : {0, 1, 15}) {
            const Plane<uint8_t> source(c.srcPitch, c.height, c.srcPitch, {test::Placement::kAtEnd, shift});
            const Plane<uint8_t> destination(c.dstPitch, c.height, c.dstPitch);
            const Plane<uint8_t> expected(c.dstPitch, c.height, c.dstPitch);
            fill(source, Content::kRandom, 1);
            fill(destination, Content::kRandom, 2);
            expected.copyFrom(destination);
            for (int y = 0; y < c.height / 4 * 4; ++y) {
                std::copy_n(source.row(y), std::min(c.srcPitch, c.dstPitch), expected.row(y));
            }
            const test::ResourceWatch watch;
            EXPECT_EQ(imgDataCopy(source.data(), destination.data(), c.srcPitch, c.height, c.dstPitch, 3), 0);
            EXPECT_EQ(watch.count(test::kThreadCreate), 4);
            EXPECT_TRUE(watch.nothingLeft());
            EXPECT_TRUE(samePlanes(destination, expected));
        }
    }
    uint8_t bytes[64] = {};
    for (const auto& [srcPitch, dstPitch, height] : {std::array{-8, 8, 8}, {8, -8, 8}, {INT32_MIN, 8, 8}, {8, 8, -8}}) {
        EXPECT_EQ(imgDataCopy(bytes + 32, bytes + 32, srcPitch, height, dstPitch, 8), 0);
    }
    EXPECT_TRUE(test::eventsWere({}));

    // The last start alone decides.
    const auto copyFailing = [&](int nth, int count) {
        const test::FailNth fail(test::kThreadCreate, nth, count);
        test::clearEvents();
        return imgDataCopy(bytes, bytes, 8, 4, 8, 8);
    };
    EXPECT_EQ(copyFailing(3, 1), 0);
    EXPECT_TRUE(test::logWas({"info i = 2"}));
    EXPECT_EQ(copyFailing(1, 4), retStsThreadError);
    EXPECT_TRUE(test::logWas({"info i = 0", "info i = 1", "info i = 2", "info i = 3", "info Thread Create Error!"}));
}

// Ascending byte by byte, also where that repeats what was just written.
TEST(PlaneCopy, OverlappingRows) {
    constexpr int kPitch = 96;
    constexpr int kRows = 3;
    for (const int distance : {-97, -95, -16, -1, 0, 1, 3, 15, 16, 17, 95, 96, 97}) {
        std::vector<uint8_t> memory(1000);
        for (size_t i = 0; i < memory.size(); ++i) memory[i] = static_cast<uint8_t>(i * 7 + i / 256);
        std::vector<uint8_t> expected = memory;
        for (int i = 300; i < 300 + kRows * kPitch; ++i) expected[i + distance] = expected[i];
        copyRows({memory.data() + 300, memory.data() + 300 + distance, kPitch, kPitch, kRows});
        EXPECT_EQ(memory, expected) << distance;
    }
}

}  // namespace
}  // namespace eis
