// The chroma entries as the host sees them: callbacks, log, statuses, faults.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "tests/denoise/chroma_call.h"
#include "tests/harness/calls.h"
#include "tests/harness/events.h"
#include "tests/harness/watchdog.h"

namespace eis::test {
namespace {

constexpr ChromaShape kShapes[] = {{144, 132, false}, {144, 132, true}, {144, 272, false}, {144, 272, true}};
bool isBanded(const ChromaShape& shape) {
    return shape.height >= 256;
}

const Events kConverted = {"convert table", "convert mask", "convert pData1", "convert pData2"};
const Events kFlushed = {"flush pData1", "flush pData2"};
const char* const kAddressLine =
    "info denoiseBuf2 | pData1 | pData2 |  pSpatialChromaNrLUT |pMaskIIR  's  FunConvert2Addr failed";
const char* const kTableLine = "error iMALLOC_POOL for pSpatialChromaNrLUT_ARM failed!";
const char* const kMaskLine = "error Memery Allocating Error!";
const char* const kThreadLine = "error Thread Create Error!";

// The events of a call with the given ones between the conversions and the time.
Events callWith(const ChromaShape& shape, const Events& middle) {
    Events all = {"convert dn", "convert scratch"};
    if (!shape.low) all.emplace_back("info PJ_ ARM SpatialNrHighLevel_MultiThread_2 start.\n");
    all.insert(all.end(), kConverted.begin(), kConverted.end());
    all.insert(all.end(), middle.begin(), middle.end());
    all.push_back(std::string("info [MFNR_TIME][Chroma") + (shape.low ? "Low" : "High") +
                  "LevelMainCall_2] cost 12 ms\n");
    return all;
}
// What follows a pass that ran: the flushes, and the end line of the high level's whole picture.
Events finished(const ChromaShape& shape, bool flushes) {
    Events all = flushes ? kFlushed : Events{};
    if (!shape.low && !isBanded(shape)) all.emplace_back("info PJ_ ARM SpatialNrHighLevelNew_2 end.\n");
    return all;
}

TEST(ChromaEntries, LogAndCallbacksInOrder) {
    const FakeClock clock(1000000, 12345);
    for (const ChromaShape& shape : kShapes) {
        ChromaCallFixture call(shape, 1);
        call.expect();
        clearEvents();
        const ResourceWatch watch;
        EXPECT_EQ(call.run(), retStsOK);
        EXPECT_TRUE(watch.nothingLeft());
        EXPECT_EQ(watch.count(kThreadCreate), isBanded(shape) ? 4 : 0);
        EXPECT_TRUE(eventsWere(callWith(shape, finished(shape, true))));
        EXPECT_TRUE(call.asExpected());
    }
}

// The four-band path flushes planes that it has not written.
TEST(ChromaEntries, ChromaOff) {
    const FakeClock clock(0, 12345);
    for (const ChromaShape& shape : kShapes) {
        ChromaCallFixture call(shape, 2);
        call.dn.chromaNrEnable = 0;
        clearEvents();
        const ResourceWatch watch;
        EXPECT_EQ(call.run(), retStsOK);
        EXPECT_TRUE(watch.nothingLeft());
        EXPECT_TRUE(eventsWere(callWith(shape, finished(shape, isBanded(shape)))));
        EXPECT_TRUE(call.picture.untouched());
    }
}

TEST(ChromaEntries, EachAddressNull) {
    const FakeClock clock(0, 12345);
    for (const ChromaShape& shape : kShapes) {
        ChromaCallFixture call(shape, 3);
        for (const char* name : {"dn", "scratch"}) {
            call.space.allow();
            call.space.refuse(name);
            clearEvents();
            EXPECT_EQ(call.run(), retStsBadAddress) << name;
            EXPECT_TRUE(eventsWere(
                {"convert dn", "convert scratch", "info stDNParams | pMemoryManagement 's  FunConvert2Addr failed"}));
        }
        for (const char* name : {"table", "mask", "pData1", "pData2"}) {
            call.space.allow();
            call.space.refuse(name);
            clearEvents();
            const ResourceWatch watch;
            EXPECT_EQ(call.run(), retStsBadAddress) << name;
            EXPECT_TRUE(watch.nothingLeft());
            EXPECT_TRUE(eventsWere(callWith(shape, {kAddressLine})));
        }
        EXPECT_TRUE(call.picture.untouched());
    }
}

TEST(ChromaEntries, SmallPicturesAreLeftAlone) {
    for (int32_t ST_CHROMA_CALL_BLOCK::*field :
         {&ST_CHROMA_CALL_BLOCK::width, &ST_CHROMA_CALL_BLOCK::height, &ST_CHROMA_CALL_BLOCK::stride}) {
        for (const int32_t value : {127, 0, -1, INT_MIN}) {
            ChromaCallFixture call(kShapes[2], 4);
            call.block.*field = value;
            clearEvents();
            EXPECT_EQ(call.run(), retStsOK);
            EXPECT_TRUE(eventsWere({"convert dn", "convert scratch", "info PJ_ ARM width height failed.\n"}));
            EXPECT_TRUE(call.picture.untouched());
            EXPECT_TRUE(call.scratch.isCanary(0, call.scratch.size()));
        }
    }
}

TEST(ChromaEntries, ScratchIsZeroedAsFarAsItIsSaidToGo) {
    // Without chroma nobody writes into it afterwards.
    for (const int32_t memSize : {INT_MIN, -1, 0, 1, 1000}) {
        ChromaCallFixture call(kShapes[0], 5);
        call.dn.chromaNrEnable = 0;
        call.block.memSize = memSize;
        EXPECT_EQ(call.run(), retStsOK);
        const int zeroed = memSize > 0 ? memSize : 0;
        for (int i = 0; i < zeroed; ++i) ASSERT_EQ(call.scratch.data()[i], 0) << memSize << ", " << i;
        EXPECT_TRUE(call.scratch.isCanary(zeroed, call.scratch.size() - zeroed)) << memSize;
    }
    // The pass runs all the same, and needs no zeros.
    for (const ChromaShape& shape : kShapes) {
        ChromaCallFixture call(shape, 6);
        call.block.memSize = 0;
        call.expect();
        EXPECT_EQ(call.run(), retStsOK);
        EXPECT_TRUE(call.asExpected());
    }
}

TEST(ChromaEntries, EachAllocationFailing) {
    const Deadline deadline(120);
    const FakeClock clock(0, 12345);
    for (const ChromaShape& shape : kShapes) {
        ChromaCallFixture call(shape, 7);
        call.expect();
        const auto failed = [&](int result, int nth) {
            if (shape.low && nth == 1) {
                EXPECT_EQ(result, retStsNoMemory);
                EXPECT_TRUE(eventsWere(callWith(shape, {kTableLine})));
                EXPECT_TRUE(call.picture.untouched());
            } else if (!isBanded(shape)) {
                EXPECT_EQ(result, retStsNoMemory);
                EXPECT_TRUE(eventsWere(callWith(shape, {kMaskLine})));
                EXPECT_TRUE(call.picture.untouched());
            } else {
                // One band, whichever it was, stays as it came.
                EXPECT_EQ(result, retStsOK);
                EXPECT_TRUE(eventsWere(callWith(shape, {kMaskLine, kFlushed[0], kFlushed[1]})));
                int untouched = 0;
                for (int k = 0; k < 4; ++k) {
                    const auto core = call.picture.coreOf(1, k);
                    EXPECT_NE(core, TestPicture::Core::kMixed) << k;
                    EXPECT_EQ(call.picture.coreOf(2, k), core) << k;
                    untouched += core == TestPicture::Core::kInput;
                }
                EXPECT_EQ(untouched, 1);
            }
        };
        const int faults = failEachInTurn({.calls = kAllocation,
                                           .prepare = [&] { call.picture.restore(); },
                                           .run = [&] { return call.run(); },
                                           .failed = failed,
                                           .succeeded =
                                               [&](int result) {
                                                   EXPECT_EQ(result, retStsOK);
                                                   EXPECT_TRUE(call.asExpected());
                                               }});
        EXPECT_EQ(faults, (isBanded(shape) ? 8 : 2) + (shape.low ? 1 : 0));
    }
}

// The bands that start do their work and are not held; nothing is flushed.
TEST(ChromaEntries, EachThreadStartFailing) {
    const Deadline deadline(120);
    const FakeClock clock(0, 12345);
    for (const ChromaShape& shape : {kShapes[2], kShapes[3]}) {
        ChromaCallFixture call(shape, 8);
        call.expect();
        const int faults = failEachInTurn({.calls = kThreadCreate,
                                           .prepare = [&] { call.picture.restore(); },
                                           .run = [&] { return call.run(); },
                                           .failed =
                                               [&](int result, int nth) {
                                                   EXPECT_EQ(result, retStsThreadError);
                                                   EXPECT_TRUE(eventsWere(callWith(shape, {kThreadLine})));
                                                   for (int k = 0; k < 4; ++k) {
                                                       const auto core = k == nth - 1 ? TestPicture::Core::kInput
                                                                                      : TestPicture::Core::kExpected;
                                                       EXPECT_EQ(call.picture.coreOf(1, k), core) << k;
                                                       EXPECT_EQ(call.picture.coreOf(2, k), core) << k;
                                                   }
                                               },
                                           .succeeded =
                                               [&](int result) {
                                                   EXPECT_EQ(result, retStsOK);
                                                   EXPECT_TRUE(call.asExpected());
                                               }});
        EXPECT_EQ(faults, 4);
    }
}

}  // namespace
}  // namespace eis::test
