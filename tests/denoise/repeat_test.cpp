// The same call gives the same bytes at every timing of its workers.
#include <gtest/gtest.h>

#include "tests/denoise/chroma_call.h"
#include "tests/denoise/delays.h"

namespace eis::test {
namespace {

TEST(Repeatability, ChromaBandsUnderRandomDelays) {
    for (const auto& [width, height] : {std::pair{256, 256}, {300, 260}}) {
        for (const bool low : {false, true}) {
            ChromaCallFixture call({width, height, low}, 400);
            call.expect();
            for (int run = 0; run < kDelayedRuns / 2; ++run) {
                call.restore();
                const RandomDelays delays(run);
                ASSERT_EQ(call.run(), retStsOK);
                ASSERT_TRUE(call.asExpected()) << width << "x" << height << ", run " << run;
            }
        }
    }
}

}  // namespace
}  // namespace eis::test
