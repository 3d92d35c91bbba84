// The same call gives the same bytes at every timing of its workers.
#include <gtest/gtest.h>

#include "tests/denoise/chroma_call.h"
#include "tests/denoise/delays.h"
#include "tests/denoise/spatial_call.h"

namespace eis::test {
namespace {

constexpr std::pair<int, int> kSizes[] = {{256, 256}, {300, 260}};

TEST(Repeatability, ChromaBandsUnderRandomDelays) {
    for (const auto& [width, height] : kSizes) {
        for (const bool low : {false, true}) {
            ChromaCallFixture call({width, height, low}, 400);
            call.expect();
            for (int run = 0; run < kDelayedRuns / 2; ++run) {
                call.picture.restore();
                const RandomDelays delays(run);
                ASSERT_EQ(call.run(), retStsOK);
                ASSERT_TRUE(call.asExpected()) << width << "x" << height << ", run " << run;
            }
        }
    }
}

// Without chroma, luma is all that the bands meet for.
TEST(Repeatability, LumaBandsUnderRandomDelays) {
    for (const auto& [width, height] : kSizes) {
        for (const int chroma : {1, 0}) {
            SpatialCallFixture call(width, height, 401);
            call.dn.chromaNrEnable = chroma;
            call.expect();
            for (int run = 0; run < kDelayedRuns / 2; ++run) {
                call.picture.restore();
                const RandomDelays delays(run);
                ASSERT_EQ(call.run(), retStsOK);
                ASSERT_TRUE(call.picture.asExpected()) << width << "x" << height << ", run " << run;
            }
        }
    }
}

}  // namespace
}  // namespace eis::test
