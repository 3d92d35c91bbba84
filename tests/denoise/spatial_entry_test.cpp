// The high-level entry as the host sees it: callbacks, log, statuses, faults.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <string>

#include "tests/denoise/spatial_call.h"
#include "tests/harness/calls.h"
#include "tests/harness/events.h"
#include "tests/harness/watchdog.h"

namespace eis::test {
namespace {

using Core = TestPicture::Core;

constexpr int kWidth = 144;
constexpr int kHeights[] = {132, 272};  // whole, and in bands
bool isBanded(int height) {
    return height >= 256;
}

const char* const kBandLine = "info SpatialNrHigh SpatialNrHighLevelNew_MultiThread memery allocate Error\n";
const char* const kMaskLine = "error Memery Allocating Error!";
const std::string kStage = "info SpatialNrHigh SpatialNrHighLevel_MultiThread ";

Events joined(std::initializer_list<Events> parts) {
    Events all;
    for (const Events& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

const Events kEntered = {
    "info enter func SpatialNrHLMain_ACoreApi\n",
    "convert inPara",
};
const char* const kDeviceAddressLine =
    "info SpatialNrHigh inPara->stDNParams.pMaskIIR [*],inPara->stDNParams.pSpatialChromaNrLUT "
    "[*],inPara->stDNParams.pIIRImgNum [1234]\n";
const Events kInRead = {"info SpatialNrHigh inPara->waitApFlag = -3\n",
                        "info SpatialNrHigh paramHighLevelIn.globalMotionState [71]\n", kDeviceAddressLine,
                        "convert mask", "convert table"};
const Events kDnConverted = {
    "info SpatialNrHigh paramHighLevelIn.stDNParams.pMaskIIR [0x*],paramHighLevelIn.stDNParams.pSpatialChromaNrLUT "
    "[0x*],paramHighLevelIn.stDNParams.pIIRImgNum [(nil)]\n",
    "convert outPara",
};
Events outRead(const SpatialCallFixture& call) {
    const ST_PICTURE_DEV& picture = call.out.stPicOut;
    return {"info SpatialNrHigh width[" + std::to_string(picture.width) + "],height[" + std::to_string(picture.height) +
                "],stride[99]\n",
            "convert pData0", "convert pData1", "convert pData2"};
}
const Events kPlanesConverted = {
    "info SpatialNrHigh paramHighLevelOut.stPicOut.pData[0][0x*],paramHighLevelOut.stPicOut.pData[1][0x*],"
    "paramHighLevelOut.stPicOut.pData[2][0x*]\n",
    "info SpatialNrHigh SpatialNrHighLevelMainCall start\n",
};
const Events kLeft = {
    "info SpatialNrHigh SpatialNrHighLevelMainCall end\n", "flush pData0", "flush pData1", "flush pData2",
    "info exit func SpatialNrHLMain_ACoreApi\n",
};
const Events kWholeStart = {
    "info SpatialNrHigh input image size is small, single thread start\n",
};
const Events kWholeFiltered = {"info wDiv2 : 72 ,hDiv2 : 66, stride : 144 \n"};
const Events kWholeEnd = {"info SpatialNrHighLevelNew------------4------------\n"};
const Events kBandsInit = {kStage + "multithread parameter set\n", kStage + "process init\n"};
const Events kBandsStart = {kStage + "process start\n"};
const Events kBandsEnd = {kStage + "process join\n", kStage + "process end\n"};

// The events of a call whose stage leaves the given ones.
Events callWith(const SpatialCallFixture& call, const Events& stage) {
    return joined({kEntered,
                   kInRead,
                   kDnConverted,
                   outRead(call),
                   kPlanesConverted,
                   {kStage + "start\n"},
                   stage,
                   {kStage + "end\n"},
                   kLeft});
}
Events goodCall(const SpatialCallFixture& call) {
    return callWith(call, isBanded(call.picture.height) ? joined({kBandsInit, kBandsStart, kBandsEnd})
                                                        : joined({kWholeStart, kWholeFiltered, kWholeEnd}));
}

// Lines of workers come at any place.
Events withoutWorkersLines(int& bandLines, int& maskLines) {
    Events all = allEvents();
    const auto count = [&](const char* line) {
        const auto end = std::remove(all.begin(), all.end(), line);
        const auto removed = static_cast<int>(all.end() - end);
        all.erase(end, all.end());
        return removed;
    };
    bandLines = count(kBandLine);
    maskLines = count(kMaskLine);
    return all;
}

TEST(SpatialEntry, LogAndCallbacksInOrder) {
    for (const int height : kHeights) {
        SpatialCallFixture call(kWidth, height, 1);
        call.expect();
        clearEvents();
        const ResourceWatch watch;
        EXPECT_EQ(call.run(), retStsOK);
        EXPECT_TRUE(watch.nothingLeft());
        EXPECT_EQ(watch.count(kThreadCreate), isBanded(height) ? 4 : 0);
        EXPECT_TRUE(eventsWere(goodCall(call)));
        EXPECT_TRUE(call.picture.asExpected());
        EXPECT_EQ(call.out.stPicOut.stride, 99) << "the block stays as it came";
    }
}

TEST(SpatialEntry, EachAddressNull) {
    SpatialCallFixture call(kWidth, kHeights[1], 2);
    const std::string line = "error SpatialNrHLMain_ACoreApi ";
    const std::string end = "FunConvert2Addr convert addr error\n";
    const struct {
        const char* name;
        Events events;
    } cases[] = {
        {"inPara", joined({kEntered, {line + end}})},
        {"mask", joined({kEntered, kInRead, {line + "stDNParams " + end}})},
        {"table", joined({kEntered, kInRead, {line + "stDNParams " + end}})},
        {"outPara", joined({kEntered, kInRead, kDnConverted, {line + "outPara " + end}})},
        {"pData0", joined({kEntered, kInRead, kDnConverted, outRead(call), {line + "stPicOut " + end}})},
        {"pData1", joined({kEntered, kInRead, kDnConverted, outRead(call), {line + "stPicOut " + end}})},
        {"pData2", joined({kEntered, kInRead, kDnConverted, outRead(call), {line + "stPicOut " + end}})},
    };
    for (const auto& c : cases) {
        call.space.allow();
        call.space.refuse(c.name);
        clearEvents();
        const ResourceWatch watch;
        EXPECT_EQ(call.run(), retStsBadAddress) << c.name;
        EXPECT_TRUE(watch.nothingLeft());
        EXPECT_TRUE(eventsWere(c.events)) << c.name;
    }
    EXPECT_TRUE(call.picture.untouched());
}

// A picture of a wrong size is flushed all the same.
TEST(SpatialEntry, SmallPicturesAreRefused) {
    for (int32_t ST_PICTURE_DEV::*field : {&ST_PICTURE_DEV::width, &ST_PICTURE_DEV::height}) {
        for (const int32_t value : {127, 0, -1, INT_MIN}) {
            SpatialCallFixture call(kWidth, kHeights[0], 3);
            call.out.stPicOut.*field = value;
            clearEvents();
            EXPECT_EQ(call.run(), retStsBadAddress);
            EXPECT_TRUE(
                eventsWere(joined({kEntered,
                                   kInRead,
                                   kDnConverted,
                                   outRead(call),
                                   kPlanesConverted,
                                   {"info SpatialNrHigh SpatialNrHighLevelMainCall pic size error ret = -998\n"},
                                   kLeft})));
            EXPECT_TRUE(call.picture.untouched());
        }
    }
}

TEST(SpatialEntry, MotionStateAndWaitFlagChangeNothing) {
    SpatialCallFixture call(kWidth, kHeights[1], 4);
    call.expect();
    for (const int32_t value : {INT_MIN, 0, 1, INT_MAX}) {
        call.picture.restore();
        call.in.globalMotionState = call.in.waitApFlag = value;
        EXPECT_EQ(call.run(), retStsOK);
        EXPECT_TRUE(call.picture.asExpected());
    }
}

// What a whole picture loses with each of its allocations: first four blocks, then the texture map's table, then the
// two arrays of the edge mask.
TEST(SpatialEntry, EachAllocationFailingOnAWholePicture) {
    SpatialCallFixture call(kWidth, kHeights[0], 5);
    call.expect();
    const auto failed = [&](int result, int nth) {
        EXPECT_EQ(result, nth == 5 ? retStsOK : retStsNoMemory);
        const Events filtered = nth < 5    ? Events{}
                                : nth == 5 ? joined({kWholeFiltered, kWholeEnd})
                                           : joined({kWholeFiltered, {kMaskLine}});
        EXPECT_TRUE(eventsWere(callWith(call, joined({kWholeStart, filtered}))));
        const TestPlane* planes = call.picture.planes;
        if (nth < 5) {
            EXPECT_TRUE(call.picture.untouched());
        } else if (nth > 5) {
            EXPECT_TRUE(samePlanes(planes[0].expected, planes[0].now));
            EXPECT_TRUE(samePlanes(planes[1].input, planes[1].now));
            EXPECT_TRUE(samePlanes(planes[2].input, planes[2].now));
        }
    };
    EXPECT_EQ(failEachInTurn({.calls = kAllocation,
                              .prepare = [&] { call.picture.restore(); },
                              .run = [&] { return call.run(); },
                              .failed = failed,
                              .succeeded =
                                  [&](int result) {
                                      EXPECT_EQ(result, retStsOK);
                                      EXPECT_TRUE(eventsWere(goodCall(call)));
                                      EXPECT_TRUE(call.picture.asExpected());
                                  }}),
              7);
}

// In bands the call is good whatever fails: a band without memory stays as it came, one without a table for its texture
// map has another luma, all others are done.
TEST(SpatialEntry, EachAllocationFailingInBands) {
    const Deadline deadline(120);
    SpatialCallFixture call(kWidth, kHeights[1], 6);
    call.expect();
    const auto failed = [&](int result, int /*nth*/) {
        EXPECT_EQ(result, retStsOK);
        int bandLines = 0;
        int maskLines = 0;
        EXPECT_EQ(withoutWorkersLines(bandLines, maskLines).size(), goodCall(call).size());
        EXPECT_LE(bandLines + maskLines, 1);
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
        EXPECT_EQ(lost, bandLines + maskLines);
        EXPECT_LE(otherLuma, 1 - lost);
    };
    EXPECT_EQ(failEachInTurn({.calls = kAllocation,
                              .prepare = [&] { call.picture.restore(); },
                              .run = [&] { return call.run(); },
                              .failed = failed,
                              .succeeded =
                                  [&](int result) {
                                      EXPECT_EQ(result, retStsOK);
                                      EXPECT_TRUE(eventsWere(goodCall(call)));
                                      EXPECT_TRUE(call.picture.asExpected());
                                  }}),
              16);
}

// A band that finds no memory is counted even where nobody meets for chroma, or for luma.
TEST(SpatialEntry, AFailingBandHoldsNobody) {
    const Deadline deadline(60);
    for (const int enabled : {0, 1}) {
        SpatialCallFixture call(kWidth, kHeights[1], 7);
        call.dn.chromaNrEnable = enabled;
        call.dn.lumaNrEnable = 1 - enabled;
        const FailNth fail(kAllocation, 2);
        EXPECT_EQ(call.run(), retStsOK);
        EXPECT_TRUE(fail.hit());
    }
}

// The bands that start do their work and are not held.
TEST(SpatialEntry, EachThreadStartFailing) {
    const Deadline deadline(120);
    SpatialCallFixture call(kWidth, kHeights[1], 8);
    call.expect();
    const auto failed = [&](int result, int nth) {
        EXPECT_EQ(result, retStsThreadError);
        EXPECT_TRUE(eventsWere(callWith(call, joined({kBandsInit, kBandsStart, {kStage + "Create Error\n"}}))));
        for (int k = 0; k < 4; ++k) {
            for (int plane = 0; plane < 3; ++plane) {
                EXPECT_EQ(call.picture.coreOf(plane, k), k == nth - 1 ? Core::kInput : Core::kExpected) << k;
            }
        }
    };
    EXPECT_EQ(failEachInTurn({.calls = kThreadCreate,
                              .prepare = [&] { call.picture.restore(); },
                              .run = [&] { return call.run(); },
                              .failed = failed,
                              .succeeded =
                                  [&](int result) {
                                      EXPECT_EQ(result, retStsOK);
                                      EXPECT_TRUE(call.picture.asExpected());
                                  }}),
              4);
}

TEST(SpatialEntry, MutexFailing) {
    SpatialCallFixture call(kWidth, kHeights[1], 9);
    call.expect();
    EXPECT_EQ(failEachInTurn(
                  {.calls = kMutexInit,
                   .prepare = [&] { call.picture.restore(); },
                   .run = [&] { return call.run(); },
                   .failed =
                       [&](int result, int /*nth*/) {
                           EXPECT_EQ(result, retStsThreadError);
                           EXPECT_TRUE(eventsWere(callWith(call, joined({kBandsInit, {kStage + "Init Error\n"}}))));
                           EXPECT_TRUE(call.picture.untouched());
                       },
                   .succeeded =
                       [&](int result) {
                           EXPECT_EQ(result, retStsOK);
                           EXPECT_TRUE(call.picture.asExpected());
                       }}),
              1);
}

}  // namespace
}  // namespace eis::test
