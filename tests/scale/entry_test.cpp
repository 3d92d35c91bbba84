// Scale_Bilinear_AcoreAPI as the host sees it: callbacks, log, statuses, faults.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "tests/harness/calls.h"
#include "tests/harness/events.h"
#include "tests/scale/scaling.h"

namespace eis::test {
namespace {

const Events kConverted = {"info  Enter func Scale_Bilinear_AcoreAPI \n", "convert Yin", "convert Uvin", "convert Yout",
                           "convert Uvout"};
const Events kInvalidated = {"invalidate Yin", "invalidate Yout", "invalidate Uvin", "invalidate Uvout"};
const Events kFinished = {"flush Yout", "flush Uvout", "info  [EIS_TIME][SCALE_C] crop_scale_color0 cost 12.3 ms\n",
                          "info  Exit func Scale_Bilinear_AcoreAPI \n"};
const Events kNoMemory = {"error [Scale_Bilinear_AcoreAPI]:  pMem malloc error!\n"};

TEST(ScaleEntry, EachAllocationFailing) {
    const FakeClock clock(0, 12345);
    ScaleCall call(40, 30, 24, 50);
    const int faults = failEachInTurn({.calls = kAllocation,
                                       .run = [&] { return call.run(); },
                                       .failed =
                                           [&](int result, int /*nth*/) {
                                               EXPECT_EQ(result, retStsNoMemory);
                                               EXPECT_TRUE(eventsWere(joined({kConverted, kInvalidated, kNoMemory})));
                                               EXPECT_TRUE(call.destination.luma.isUntouched());
                                           },
                                       .succeeded =
                                           [&](int result) {
                                               EXPECT_EQ(result, retStsOK);
                                               EXPECT_TRUE(eventsWere(joined({kConverted, kInvalidated, kFinished})));
                                           }});
    EXPECT_EQ(faults, 1);
}

// All four addresses are converted before any is tested, and nothing is made coherent then.
TEST(ScaleEntry, EachAddressNull) {
    const char* kNames[] = {"Yin", "Uvin", "Yout", "Uvout"};
    ScaleCall call(16, 16, 16, 16);
    for (const char* name : kNames) {
        call.space().allow();
        call.space().refuse(name);
        clearEvents();
        EXPECT_EQ(call.run(), retStsBadAddress);
        std::string line = "error [Scale_Bilinear_AcoreAPI]  Convert Addr is NULL";
        for (const char* shown : kNames) {
            line += (shown == kNames[0] ? " " : "  ") + std::string(shown) + ": 0x" + (shown == name ? "(nil)" : "0x*");
        }
        EXPECT_TRUE(eventsWere(joined({kConverted, {line}})));
    }
}

// A size that leaves nothing to write ends like any other call; a border for which no buffer can be had does not.
TEST(ScaleEntry, SizesAndBordersOutOfRange) {
    const FakeClock clock(0, 12345);
    const struct {
        const char* name;
        int32_t ST_SCALE_BLOCK::*field;
        int32_t value;
        ret_status status;
    } cases[] = {
        {"source width 0", &ST_SCALE_BLOCK::srcWidth, 0, retStsOK},
        {"source width below 0", &ST_SCALE_BLOCK::srcWidth, -5, retStsOK},
        {"least source width", &ST_SCALE_BLOCK::srcWidth, INT_MIN, retStsOK},
        {"source height 0", &ST_SCALE_BLOCK::srcHeight, 0, retStsOK},
        {"source height below 0", &ST_SCALE_BLOCK::srcHeight, -70000, retStsOK},
        {"destination width 0", &ST_SCALE_BLOCK::dstWidth, 0, retStsOK},
        {"destination width below 0", &ST_SCALE_BLOCK::dstWidth, -1, retStsOK},
        {"destination height 0", &ST_SCALE_BLOCK::dstHeight, 0, retStsOK},
        {"destination height below 0", &ST_SCALE_BLOCK::dstHeight, INT_MIN, retStsOK},
        {"stride far below 0", &ST_SCALE_BLOCK::dstStride, -1000000, retStsNoMemory},
        {"border below 0", &ST_SCALE_BLOCK::border, -1, retStsNoMemory},
        {"border beyond all memory", &ST_SCALE_BLOCK::border, INT_MAX, retStsNoMemory},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ScaleCall call(12, 10, 16, 14);
        call.block.*c.field = c.value;
        clearEvents();
        const ResourceWatch watch;
        EXPECT_EQ(call.run(), c.status);
        EXPECT_TRUE(watch.nothingLeft());
        EXPECT_TRUE(eventsWere(joined({kConverted, kInvalidated, c.status == retStsOK ? kFinished : kNoMemory})));
        EXPECT_TRUE(call.destination.luma.isUntouched());
        EXPECT_TRUE(call.destination.chroma.isUntouched());
    }
}

// One row or column of chroma is lost by each halving; without any, its plane is left alone.
TEST(ScaleEntry, NoChromaOfASingleRowOrColumn) {
    for (const auto& [srcW, srcH, dstW, dstH] :
         {std::array{16, 16, 16, 1}, {16, 16, 1, 16}, {1, 16, 16, 16}, {16, 1, 16, 16}}) {
        ScaleCall call(srcW, srcH, dstW, dstH);
        EXPECT_EQ(call.run(), retStsOK);
        EXPECT_FALSE(call.destination.luma.isUntouched());
        EXPECT_TRUE(call.destination.chroma.isUntouched()) << srcW << "x" << srcH << " to " << dstW << "x" << dstH;
    }
}

}  // namespace
}  // namespace eis::test
