// The three denoise entries as the host sees them: callbacks, log, statuses, faults.
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "tests/denoise/chroma_call.h"
#include "tests/denoise/spatial_call.h"
#include "tests/harness/calls.h"
#include "tests/harness/entry_faults.h"

namespace eis::test {
namespace {

using Core = TestPicture::Core;

constexpr int kWidth = 144;
constexpr int kWhole = 132;
constexpr int kInBands = 272;
constexpr ChromaShape kShapes[] = {
    {kWidth, kWhole, false}, {kWidth, kWhole, true}, {kWidth, kInBands, false}, {kWidth, kInBands, true}};
bool isBanded(const TestPicture& picture) {
    return picture.height >= 256;
}

const Events kNoMask = {"error Memery Allocating Error!"};

// The chroma entries' events, with the given ones between the conversions and the time.
Events chromaCall(const ChromaShape& shape, const Events& middle) {
    const std::string level = shape.low ? "Low" : "High";
    return joined({{"convert dn", "convert scratch"},
                   shape.low ? Events{} : Events{"info PJ_ ARM SpatialNrHighLevel_MultiThread_2 start.\n"},
                   {"convert table", "convert mask", "convert pData1", "convert pData2"},
                   middle,
                   {"info [MFNR_TIME][Chroma" + level + "LevelMainCall_2] cost 12 ms\n"}});
}
// What follows a pass that ran: the flushes, and the end line of the high level's whole picture.
Events chromaFinished(const ChromaShape& shape, bool flushes) {
    const bool hasEnd = !shape.low && shape.height == kWhole;
    return joined({flushes ? Events{"flush pData1", "flush pData2"} : Events{},
                   hasEnd ? Events{"info PJ_ ARM SpatialNrHighLevelNew_2 end.\n"} : Events{}});
}
Events goodCall(const ChromaCallFixture& call) {
    return chromaCall(call.shape, chromaFinished(call.shape, true));
}

// The spatial entry's events, piece by piece.
const std::string kLine = "info SpatialNrHigh ";
const Events kEntered = {"info enter func SpatialNrHLMain_ACoreApi\n", "convert inPara"};
const Events kInRead = {kLine + "inPara->waitApFlag = -3\n", kLine + "paramHighLevelIn.globalMotionState [71]\n",
                        kLine +
                            "inPara->stDNParams.pMaskIIR [*],inPara->stDNParams.pSpatialChromaNrLUT "
                            "[*],inPara->stDNParams.pIIRImgNum [1234]\n",
                        "convert mask", "convert table"};
const Events kDnConverted = {kLine +
                                 "paramHighLevelIn.stDNParams.pMaskIIR "
                                 "[0x*],paramHighLevelIn.stDNParams.pSpatialChromaNrLUT "
                                 "[0x*],paramHighLevelIn.stDNParams.pIIRImgNum [(nil)]\n",
                             "convert outPara"};
Events outRead(const SpatialCallFixture& call) {
    const ST_PICTURE_DEV& picture = call.out.stPicOut;
    return joined({kEntered,
                   kInRead,
                   kDnConverted,
                   {kLine + "width[" + std::to_string(picture.width) + "],height[" + std::to_string(picture.height) +
                        "],stride[99]\n",
                    "convert pData0", "convert pData1", "convert pData2"}});
}
const Events kPlanesConverted = {kLine +
                                     "paramHighLevelOut.stPicOut.pData[0][0x*],paramHighLevelOut.stPicOut.pData[1]"
                                     "[0x*],paramHighLevelOut.stPicOut.pData[2][0x*]\n",
                                 kLine + "SpatialNrHighLevelMainCall start\n"};
const Events kLeft = {kLine + "SpatialNrHighLevelMainCall end\n", "flush pData0", "flush pData1", "flush pData2",
                      "info exit func SpatialNrHLMain_ACoreApi\n"};
const std::string kStage = kLine + "SpatialNrHighLevel_MultiThread ";
const Events kWholeStart = {kLine + "input image size is small, single thread start\n"};
const Events kWholeFiltered = joined({kWholeStart, {"info wDiv2 : 72 ,hDiv2 : 66, stride : 144 \n"}});
const Events kWholeDone = joined({kWholeFiltered, {"info SpatialNrHighLevelNew------------4------------\n"}});
const Events kBandsInit = {kStage + "multithread parameter set\n", kStage + "process init\n"};
const Events kBandsStart = joined({kBandsInit, {kStage + "process start\n"}});
const Events kBandsDone = joined({kBandsStart, {kStage + "process join\n", kStage + "process end\n"}});

// The events of a call whose stage leaves the given ones.
Events spatialCall(const SpatialCallFixture& call, const Events& stage) {
    return joined({outRead(call), kPlanesConverted, {kStage + "start\n"}, stage, {kStage + "end\n"}, kLeft});
}
Events goodCall(const SpatialCallFixture& call) {
    return spatialCall(call, isBanded(call.picture) ? kBandsDone : kWholeDone);
}

template <class Call>
void expectGood(Call call) {
    call.expect();
    clearEvents();
    const ResourceWatch watch;
    EXPECT_EQ(call.run(), retStsOK);
    EXPECT_TRUE(watch.nothingLeft());
    EXPECT_EQ(watch.count(kThreadCreate), isBanded(call.picture) ? 4 : 0);
    EXPECT_TRUE(eventsWere(goodCall(call)));
    EXPECT_TRUE(call.picture.asExpected());
}

TEST(DenoiseEntries, LogAndCallbacksInOrder) {
    const FakeClock clock(1000000, 12345);
    for (const ChromaShape& shape : kShapes) {
        expectGood(ChromaCallFixture(shape, 1));
        // Without chroma the four-band path flushes planes that it has not written.
        ChromaCallFixture off(shape, 2);
        off.dn.chromaNrEnable = 0;
        clearEvents();
        EXPECT_EQ(off.run(), retStsOK);
        EXPECT_TRUE(eventsWere(chromaCall(shape, chromaFinished(shape, isBanded(off.picture)))));
        EXPECT_TRUE(off.picture.untouched());
    }
    for (const int height : {kWhole, kInBands}) {
        expectGood(SpatialCallFixture(kWidth, height, 1));
    }
}

TEST(DenoiseEntries, EachAddressNull) {
    const FakeClock clock(0, 12345);
    const Events noBlock = {"convert dn", "convert scratch",
                            "info stDNParams | pMemoryManagement 's  FunConvert2Addr failed"};
    for (const ChromaShape& shape : kShapes) {
        ChromaCallFixture call(shape, 3);
        const Events noPlane = chromaCall(
            shape, {"info denoiseBuf2 | pData1 | pData2 |  pSpatialChromaNrLUT |pMaskIIR  's  FunConvert2Addr failed"});
        eachAddressNull(
            call.space,
            {{"dn", retStsBadAddress, noBlock},
             {"scratch", retStsBadAddress, noBlock},
             {"table", retStsBadAddress, noPlane},
             {"mask", retStsBadAddress, noPlane},
             {"pData1", retStsBadAddress, noPlane},
             {"pData2", retStsBadAddress, noPlane}},
            [&] { return call.run(); }, [&] { return static_cast<bool>(call.picture.untouched()); });
    }
    SpatialCallFixture call(kWidth, kInBands, 2);
    const auto failed = [](const Events& events, const std::string& what) {
        const std::string line = "error SpatialNrHLMain_ACoreApi " + what + "FunConvert2Addr convert addr error\n";
        return joined({events, {line}});
    };
    const Events noDn = failed(joined({kEntered, kInRead}), "stDNParams ");
    const Events noPlane = failed(outRead(call), "stPicOut ");
    eachAddressNull(
        call.space,
        {{"inPara", retStsBadAddress, failed(kEntered, "")},
         {"mask", retStsBadAddress, noDn},
         {"table", retStsBadAddress, noDn},
         {"outPara", retStsBadAddress, failed(joined({kEntered, kInRead, kDnConverted}), "outPara ")},
         {"pData0", retStsBadAddress, noPlane},
         {"pData1", retStsBadAddress, noPlane},
         {"pData2", retStsBadAddress, noPlane}},
        [&] { return call.run(); }, [&] { return static_cast<bool>(call.picture.untouched()); });
}

TEST(DenoiseEntries, SmallPicturesAreLeftAlone) {
    for (const int32_t value : {127, 0, -1, INT_MIN}) {
        for (int32_t ST_CHROMA_CALL_BLOCK::*field :
             {&ST_CHROMA_CALL_BLOCK::width, &ST_CHROMA_CALL_BLOCK::height, &ST_CHROMA_CALL_BLOCK::stride}) {
            ChromaCallFixture call(kShapes[2], 4);
            call.block.*field = value;
            clearEvents();
            EXPECT_EQ(call.run(), retStsOK);
            EXPECT_TRUE(eventsWere({"convert dn", "convert scratch", "info PJ_ ARM width height failed.\n"}));
            EXPECT_TRUE(call.picture.untouched());
            EXPECT_TRUE(call.scratch.isCanary(0, call.scratch.size()));
        }
        // The spatial entry refuses, and flushes all the same.
        for (int32_t ST_PICTURE_DEV::*field : {&ST_PICTURE_DEV::width, &ST_PICTURE_DEV::height}) {
            SpatialCallFixture call(kWidth, kWhole, 3);
            call.out.stPicOut.*field = value;
            clearEvents();
            EXPECT_EQ(call.run(), retStsBadAddress);
            const Events refused = {kLine + "SpatialNrHighLevelMainCall pic size error ret = -998\n"};
            EXPECT_TRUE(eventsWere(joined({outRead(call), kPlanesConverted, refused, kLeft})));
            EXPECT_TRUE(call.picture.untouched());
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

// Fails each call of the kinds in turn; without a fault the picture is as it must be.
template <class Call, class Failed>
int failEach(uint32_t calls, Call& call, Failed failed) {
    call.expect();
    return failEachInTurn({.calls = calls,
                           .prepare = [&] { call.picture.restore(); },
                           .run = [&] { return call.run(); },
                           .failed = failed,
                           .succeeded =
                               [&](int result) {
                                   EXPECT_EQ(result, retStsOK);
                                   EXPECT_TRUE(call.picture.asExpected());
                               }});
}

TEST(ChromaEntries, EachAllocationFailing) {
    const FakeClock clock(0, 12345);
    for (const ChromaShape& shape : kShapes) {
        ChromaCallFixture call(shape, 7);
        const bool banded = isBanded(call.picture);
        const auto failed = [&](int result, int nth) {
            const bool noTable = shape.low && nth == 1;
            if (noTable || !banded) {
                EXPECT_EQ(result, retStsNoMemory);
                const Events table = {"error iMALLOC_POOL for pSpatialChromaNrLUT_ARM failed!"};
                EXPECT_TRUE(eventsWere(chromaCall(shape, noTable ? table : kNoMask)));
                EXPECT_TRUE(call.picture.untouched());
                return;
            }
            // One band, whichever it was, stays as it came.
            EXPECT_EQ(result, retStsOK);
            EXPECT_TRUE(eventsWere(chromaCall(shape, joined({kNoMask, {"flush pData1", "flush pData2"}}))));
            int untouched = 0;
            for (int k = 0; k < 4; ++k) {
                const Core core = call.picture.coreOf(1, k);
                EXPECT_NE(core, Core::kMixed) << k;
                EXPECT_EQ(call.picture.coreOf(2, k), core) << k;
                untouched += core == Core::kInput;
            }
            EXPECT_EQ(untouched, 1);
        };
        EXPECT_EQ(failEach(kAllocation, call, failed), (banded ? 8 : 2) + (shape.low ? 1 : 0));
    }
}

// What a whole picture loses with each of its allocations: first four blocks, then the texture map's table, then the
// two arrays of the edge mask.
TEST(SpatialEntry, EachAllocationFailingOnAWholePicture) {
    SpatialCallFixture call(kWidth, kWhole, 5);
    const auto failed = [&](int result, int nth) {
        EXPECT_EQ(result, nth == 5 ? retStsOK : retStsNoMemory);
        const Events stage = nth < 5 ? kWholeStart : nth == 5 ? kWholeDone : joined({kWholeFiltered, kNoMask});
        EXPECT_TRUE(eventsWere(spatialCall(call, stage)));
        const TestPlane* planes = call.picture.planes;
        if (nth < 5) {
            EXPECT_TRUE(call.picture.untouched());
        } else if (nth > 5) {
            EXPECT_TRUE(samePlanes(planes[0].expected, planes[0].now));
            EXPECT_TRUE(samePlanes(planes[1].input, planes[1].now));
            EXPECT_TRUE(samePlanes(planes[2].input, planes[2].now));
        }
    };
    EXPECT_EQ(failEach(kAllocation, call, failed), 7);
}

// In bands the call is good whatever fails: a band without memory stays as it came, one without a table for its texture
// map has another luma, all others are done.
TEST(SpatialEntry, EachAllocationFailingInBands) {
    SpatialCallFixture call(kWidth, kInBands, 6);
    const auto failed = [&](int result, int /*nth*/) {
        EXPECT_EQ(result, retStsOK);
        // Lines of workers come at any place.
        Events events = allEvents();
        const auto workers = std::erase(events, kLine + "SpatialNrHighLevelNew_MultiThread memery allocate Error\n") +
                             std::erase(events, kNoMask[0]);
        EXPECT_EQ(events.size(), goodCall(call).size());
        EXPECT_LE(workers, 1u);
        int lost = 0;
        int otherLuma = 0;
        for (int k = 0; k < 4; ++k) {
            const Core chroma = call.picture.coreOf(1, k);
            const Core luma = call.picture.coreOf(0, k);
            EXPECT_NE(chroma, Core::kMixed) << k;
            EXPECT_EQ(call.picture.coreOf(2, k), chroma) << k;
            lost += chroma == Core::kInput;
            otherLuma += luma == Core::kMixed;
            EXPECT_TRUE(chroma == Core::kExpected || luma == Core::kInput) << k;
        }
        EXPECT_EQ(lost, workers);
        EXPECT_LE(otherLuma, 1 - lost);
    };
    EXPECT_EQ(failEach(kAllocation, call, failed), 16);
}

// A band that finds no memory is counted even where nobody meets for chroma, or for luma.
TEST(SpatialEntry, AFailingBandHoldsNobody) {
    for (const int enabled : {0, 1}) {
        SpatialCallFixture call(kWidth, kInBands, 7);
        call.dn.chromaNrEnable = enabled;
        call.dn.lumaNrEnable = 1 - enabled;
        const FailNth fail(kAllocation, 2);
        EXPECT_EQ(call.run(), retStsOK);
        EXPECT_TRUE(fail.hit());
    }
}

// The bands that start do their work and are not held; the chroma entries flush nothing.
TEST(DenoiseEntries, EachThreadStartFailing) {
    const FakeClock clock(0, 12345);
    const auto check = [](auto& call, int firstPlane, const Events& events) {
        const auto failed = [&](int result, int nth) {
            EXPECT_EQ(result, retStsThreadError);
            EXPECT_TRUE(eventsWere(events));
            for (int k = 0; k < 4; ++k) {
                for (int plane = firstPlane; plane < 3; ++plane) {
                    EXPECT_EQ(call.picture.coreOf(plane, k), k == nth - 1 ? Core::kInput : Core::kExpected) << k;
                }
            }
        };
        EXPECT_EQ(failEach(kThreadCreate, call, failed), 4);
    };
    for (const bool low : {false, true}) {
        ChromaCallFixture call({kWidth, kInBands, low}, 8);
        check(call, 1, chromaCall(call.shape, {"error Thread Create Error!"}));
    }
    SpatialCallFixture call(kWidth, kInBands, 8);
    check(call, 0, spatialCall(call, joined({kBandsStart, {kStage + "Create Error\n"}})));
}

TEST(SpatialEntry, WhicheverBandIsFirst) {
    SpatialCallFixture call(kWidth, kInBands, 10);
    call.expect();
    const JitteredThreads jittered(300);
    for (int run = 0; run < 1000; ++run) {
        call.picture.restore();
        ASSERT_EQ(call.run(), retStsOK);
        ASSERT_TRUE(call.picture.asExpected()) << run;
    }
}

TEST(SpatialEntry, MutexFailing) {
    SpatialCallFixture call(kWidth, kInBands, 9);
    const auto failed = [&](int result, int /*nth*/) {
        EXPECT_EQ(result, retStsThreadError);
        EXPECT_TRUE(eventsWere(spatialCall(call, joined({kBandsInit, {kStage + "Init Error\n"}}))));
        EXPECT_TRUE(call.picture.untouched());
    };
    EXPECT_EQ(failEach(kMutexInit, call, failed), 1);
}

}  // namespace
}  // namespace eis::test
