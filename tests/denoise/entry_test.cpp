// The three denoise entries as the host sees them: callbacks, log, statuses, faults.
#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "libCore/core/source/frame/slots.h"
#include "tests/denoise/denoise_call.h"
#include "tests/harness/calls.h"
#include "tests/harness/entry_faults.h"

namespace eis::test {
namespace {

using Core = TestPicture::Core;

constexpr Shape kWhole{144, 132};
constexpr Shape kInBands{144, 272};
const Events kNoMask = {"error Memery Allocating Error!"};

// The spatial entry's events, piece by piece.
const std::string kLine = "info SpatialNrHigh ";
const std::string kStage = kLine + "SpatialNrHighLevel_MultiThread ";
const Events kEntered = {"info enter func SpatialNrHLMain_ACoreApi\n", "convert inPara"};
const Events kInRead =
    joined({kEntered,
            {kLine + "inPara->waitApFlag = -3\n", kLine + "paramHighLevelIn.globalMotionState [71]\n",
             kLine + "inPara->stDNParams.pMaskIIR [*],inPara->stDNParams.pSpatialChromaNrLUT "
                     "[*],inPara->stDNParams.pIIRImgNum [1234]\n",
             "convert mask", "convert table"}});
const Events kDnConverted =
    joined({kInRead,
            {kLine + "paramHighLevelIn.stDNParams.pMaskIIR [0x*],paramHighLevelIn.stDNParams.pSpatialChromaNrLUT "
                     "[0x*],paramHighLevelIn.stDNParams.pIIRImgNum [(nil)]\n",
             "convert outPara"}});
Events outRead(const DenoiseCall& call) {
    const ST_PICTURE_DEV& picture = call.out.stPicOut;
    return joined({kDnConverted,
                   {kLine + "width[" + std::to_string(picture.width) + "],height[" + std::to_string(picture.height) +
                        "],stride[99]\n",
                    "convert pData0", "convert pData1", "convert pData2"}});
}
Events spatialCall(const DenoiseCall& call, const Events& middle) {
    return joined({outRead(call),
                   {kLine + "paramHighLevelOut.stPicOut.pData[0][0x*],paramHighLevelOut.stPicOut.pData[1]"
                            "[0x*],paramHighLevelOut.stPicOut.pData[2][0x*]\n",
                    kLine + "SpatialNrHighLevelMainCall start\n"},
                   middle,
                   {kLine + "SpatialNrHighLevelMainCall end\n", "flush pData0", "flush pData1", "flush pData2",
                    "info exit func SpatialNrHLMain_ACoreApi\n"}});
}
const Events kWholeStart = {kLine + "input image size is small, single thread start\n"};
const Events kWholeFiltered = joined({kWholeStart, {"info wDiv2 : 72 ,hDiv2 : 66, stride : 144 \n"}});
const Events kWholeDone = joined({kWholeFiltered, {"info SpatialNrHighLevelNew------------4------------\n"}});
const Events kBandsInit = {kStage + "multithread parameter set\n", kStage + "process init\n"};
const Events kBandsStart = joined({kBandsInit, {kStage + "process start\n"}});
const Events kBandsDone = joined({kBandsStart, {kStage + "process join\n", kStage + "process end\n"}});

// The events of a call that gets as far as its stage, with what happens in there.
Events callWith(const DenoiseCall& call, const Events& stage) {
    if (call.entry == kSpatial) return spatialCall(call, joined({{kStage + "start\n"}, stage, {kStage + "end\n"}}));
    const bool low = call.entry == kChromaLow;
    return joined(
        {{"convert dn", "convert scratch"},
         low ? Events{} : Events{"info PJ_ ARM SpatialNrHighLevel_MultiThread_2 start.\n"},
         {"convert table", "convert mask", "convert pData1", "convert pData2"},
         stage,
         {std::string("info [MFNR_TIME][Chroma") + (low ? "Low" : "High") + "LevelMainCall_2] cost 12 ms\n"}});
}
// What happens in a stage that is well; a chroma stage may have nothing to flush.
Events wellDone(const DenoiseCall& call, bool flushes = true) {
    const bool banded = call.picture.isBanded();
    if (call.entry == kSpatial) return banded ? kBandsDone : kWholeDone;
    const bool hasEnd = call.entry == kChromaHigh && !banded;
    return joined({flushes ? Events{"flush pData1", "flush pData2"} : Events{},
                   hasEnd ? Events{"info PJ_ ARM SpatialNrHighLevelNew_2 end.\n"} : Events{}});
}

class DenoiseEntries : public testing::Test {
    const FakeClock clock_{1000000, 12345};
};

// Without chroma the four-band path of a chroma entry flushes planes that it has not written.
TEST_F(DenoiseEntries, LogAndCallbacksInOrder) {
    for (const Entry entry : kEntries) {
        for (const Shape& shape : {kWhole, kInBands}) {
            for (const int chroma : {0, 1}) {
                DenoiseCall call(entry, shape, 1);
                call.dn.chromaNrEnable = chroma;
                const bool banded = call.picture.isBanded();
                clearEvents();
                const ResourceWatch watch;
                EXPECT_EQ(call.run(), retStsOK);
                EXPECT_TRUE(watch.nothingLeft());
                EXPECT_EQ(watch.count(kThreadCreate), banded ? 4 : 0);
                EXPECT_TRUE(eventsWere(callWith(call, wellDone(call, banded || chroma != 0))));
            }
        }
    }
}

TEST_F(DenoiseEntries, EachAddressNull) {
    const auto check = [](DenoiseCall& call, std::initializer_list<std::pair<const char*, Events>> rows) {
        std::vector<NullAddress> addresses;
        for (const auto& [name, events] : rows) addresses.push_back({name, retStsBadAddress, events});
        eachAddressNull(
            call.space, addresses, [&] { return call.run(); },
            [&] { return static_cast<bool>(call.picture.untouched()); });
    };
    const Events noBlock = {"convert dn", "convert scratch",
                            "info stDNParams | pMemoryManagement 's  FunConvert2Addr failed"};
    for (const Entry entry : {kChromaHigh, kChromaLow}) {
        for (const Shape& shape : {kWhole, kInBands}) {
            DenoiseCall call(entry, shape, 3);
            const Events failed = callWith(
                call,
                {"info denoiseBuf2 | pData1 | pData2 |  pSpatialChromaNrLUT |pMaskIIR  's  FunConvert2Addr failed"});
            check(call, {{"dn", noBlock},
                         {"scratch", noBlock},
                         {"table", failed},
                         {"mask", failed},
                         {"pData1", failed},
                         {"pData2", failed}});
        }
    }
    DenoiseCall call(kSpatial, kInBands, 2);
    const auto failed = [](const Events& events, const std::string& what) {
        return joined({events, {"error SpatialNrHLMain_ACoreApi " + what + "FunConvert2Addr convert addr error\n"}});
    };
    const Events noPlane = failed(outRead(call), "stPicOut ");
    check(call, {{"inPara", failed(kEntered, "")},
                 {"mask", failed(kInRead, "stDNParams ")},
                 {"table", failed(kInRead, "stDNParams ")},
                 {"outPara", failed(kDnConverted, "outPara ")},
                 {"pData0", noPlane},
                 {"pData1", noPlane},
                 {"pData2", noPlane}});
}

TEST_F(DenoiseEntries, SmallPicturesAreLeftAlone) {
    const auto expectLeftAlone = [](DenoiseCall& call, int status, const Events& events) {
        clearEvents();
        EXPECT_EQ(call.run(), status);
        EXPECT_TRUE(eventsWere(events));
        EXPECT_TRUE(call.picture.untouched());
        EXPECT_TRUE(call.scratch.isCanary(0, call.scratch.size()));
    };
    for (const int32_t value : {127, INT_MIN}) {
        for (int32_t ST_CHROMA_CALL_BLOCK::*field :
             {&ST_CHROMA_CALL_BLOCK::width, &ST_CHROMA_CALL_BLOCK::height, &ST_CHROMA_CALL_BLOCK::stride}) {
            DenoiseCall call(kChromaLow, kInBands, 4);
            call.chroma.*field = value;
            expectLeftAlone(call, retStsOK, {"convert dn", "convert scratch", "info PJ_ ARM width height failed.\n"});
        }
        // The spatial entry refuses, and flushes all the same.
        for (int32_t ST_PICTURE_DEV::*field : {&ST_PICTURE_DEV::width, &ST_PICTURE_DEV::height}) {
            DenoiseCall call(kSpatial, kWhole, 3);
            call.out.stPicOut.*field = value;
            expectLeftAlone(call, retStsBadAddress,
                            spatialCall(call, {kLine + "SpatialNrHighLevelMainCall pic size error ret = -998\n"}));
        }
    }
}

TEST_F(DenoiseEntries, ScratchIsZeroedAsFarAsItIsSaidToGo) {
    // Without chroma nobody writes into it afterwards.
    for (const int32_t memSize : {INT_MIN, -1, 0, 1, 1000}) {
        DenoiseCall call(kChromaHigh, kWhole, 5);
        call.dn.chromaNrEnable = 0;
        call.chroma.memSize = memSize;
        EXPECT_EQ(call.run(), retStsOK);
        const int zeroed = memSize > 0 ? memSize : 0;
        for (int i = 0; i < zeroed; ++i) ASSERT_EQ(call.scratch.data()[i], 0) << memSize << ", " << i;
        EXPECT_TRUE(call.scratch.isCanary(zeroed, call.scratch.size() - zeroed)) << memSize;
    }
    // The pass runs all the same, and needs no zeros.
    for (const Entry entry : {kChromaHigh, kChromaLow}) {
        for (const Shape& shape : {kWhole, kInBands}) {
            DenoiseCall call(entry, shape, 6);
            call.learn();
            call.chroma.memSize = 0;
            std::memset(call.scratch.data(), 0x5a, call.scratch.size());
            EXPECT_EQ(call.run(), retStsOK);
            EXPECT_TRUE(call.picture.isGood());
        }
    }
}

// Fails each call of the kinds in turn, and with a count as many in a row; without a fault the picture is good.
template <class Failed>
int failEach(uint32_t calls, DenoiseCall& call, Failed failed, int inARow = 1) {
    call.learn();
    return failEachInTurn({.calls = calls,
                           .prepare = [&] { call.picture.restore(); },
                           .run = [&] { return call.run(); },
                           .failed = failed,
                           .succeeded =
                               [&](int result) {
                                   EXPECT_EQ(result, retStsOK);
                                   EXPECT_TRUE(call.picture.isGood());
                               },
                           .inARow = inARow});
}

// On a whole picture a chroma entry fails with its table's copy, in the low level, or with one of the edge mask's two
// arrays. In bands one of those costs one band.
TEST_F(DenoiseEntries, EachAllocationOfAChromaEntryFailing) {
    for (const Entry entry : {kChromaHigh, kChromaLow}) {
        for (const Shape& shape : {kWhole, kInBands}) {
            DenoiseCall call(entry, shape, 7);
            const bool banded = call.picture.isBanded();
            const bool low = entry == kChromaLow;
            const auto failed = [&](int result, int nth) {
                const bool noTable = low && nth == 1;
                if (noTable || !banded) {
                    EXPECT_EQ(result, retStsNoMemory);
                    const Events table = {"error iMALLOC_POOL for pSpatialChromaNrLUT_ARM failed!"};
                    EXPECT_TRUE(eventsWere(callWith(call, noTable ? table : kNoMask)));
                    EXPECT_TRUE(call.picture.untouched());
                    return;
                }
                EXPECT_EQ(result, retStsOK);
                EXPECT_TRUE(eventsWere(callWith(call, joined({kNoMask, wellDone(call)}))));
                int untouched = 0;
                for (int k = 0; k < 4; ++k) {
                    const Core core = call.picture.coreOf(1, k);
                    EXPECT_NE(core, Core::kMixed) << k;
                    EXPECT_EQ(call.picture.coreOf(2, k), core) << k;
                    untouched += core == Core::kInput;
                }
                EXPECT_EQ(untouched, 1);
            };
            EXPECT_EQ(failEach(kAllocation, call, failed), (banded ? 8 : 2) + (low ? 1 : 0));
        }
    }
}

// What a whole picture loses with each of its allocations: first four blocks, then the texture map's table, then the
// two arrays of the edge mask.
TEST_F(DenoiseEntries, EachAllocationFailingOnAWholePicture) {
    DenoiseCall call(kSpatial, kWhole, 5);
    const auto failed = [&](int result, int nth) {
        EXPECT_EQ(result, nth == 5 ? retStsOK : retStsNoMemory);
        const Events stage = nth < 5 ? kWholeStart : nth == 5 ? kWholeDone : joined({kWholeFiltered, kNoMask});
        EXPECT_TRUE(eventsWere(callWith(call, stage)));
        const TestPlane* planes = call.picture.planes;
        if (nth < 5) {
            EXPECT_TRUE(call.picture.untouched());
        } else if (nth > 5) {
            EXPECT_TRUE(samePlanes(planes[0].good, planes[0].now));
            EXPECT_TRUE(samePlanes(planes[1].input, planes[1].now));
            EXPECT_TRUE(samePlanes(planes[2].input, planes[2].now));
        }
    };
    EXPECT_EQ(failEach(kAllocation, call, failed), 7);
}

// In bands the call is good whatever fails: a band without memory stays as it came, one without a table for its texture
// map has another luma, all others are done.
TEST_F(DenoiseEntries, EachAllocationFailingInBands) {
    DenoiseCall call(kSpatial, kInBands, 6);
    const auto failed = [&](int result, int /*nth*/) {
        EXPECT_EQ(result, retStsOK);
        // Lines of workers come at any place.
        Events events = allEvents();
        const auto workers = std::erase(events, kLine + "SpatialNrHighLevelNew_MultiThread memery allocate Error\n") +
                             std::erase(events, kNoMask[0]);
        EXPECT_EQ(events.size(), callWith(call, kBandsDone).size());
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
            EXPECT_TRUE(chroma == Core::kGood || luma == Core::kInput) << k;
        }
        EXPECT_EQ(lost, workers);
        EXPECT_LE(otherLuma, 1 - lost);
    };
    EXPECT_EQ(failEach(kAllocation, call, failed), 16);
}

// A band that finds no memory is counted even where nobody meets for chroma, or for luma.
TEST_F(DenoiseEntries, AFailingBandHoldsNobody) {
    for (const int enabled : {0, 1}) {
        DenoiseCall call(kSpatial, kInBands, 7);
        call.dn.chromaNrEnable = enabled;
        call.dn.lumaNrEnable = 1 - enabled;
        const FailNth fail(kAllocation, 2);
        EXPECT_EQ(call.run(), retStsOK);
        EXPECT_TRUE(fail.hit());
    }
}

// The bands that start do their work and are not held; the chroma entries flush nothing.
TEST_F(DenoiseEntries, ThreadStartsFailing) {
    for (const Entry entry : kEntries) {
        DenoiseCall call(entry, kInBands, 8);
        const Events events = callWith(call, entry == kSpatial ? joined({kBandsStart, {kStage + "Create Error\n"}})
                                                               : Events{"error Thread Create Error!"});
        for (const int inARow : {1, 2}) {
            SCOPED_TRACE(testing::Message() << "entry " << entry << ", " << inARow << " in a row");
            const auto failed = [&](int result, int nth) {
                EXPECT_EQ(result, retStsThreadError);
                EXPECT_TRUE(eventsWere(events));
                for (int k = 0; k < 4; ++k) {
                    const bool missing = k >= nth - 1 && k < nth - 1 + inARow;
                    for (int plane = entry == kSpatial ? 0 : 1; plane < 3; ++plane) {
                        EXPECT_EQ(call.picture.coreOf(plane, k), missing ? Core::kInput : Core::kGood) << k;
                    }
                }
            };
            EXPECT_EQ(failEach(kThreadCreate, call, failed, inARow), 4);
        }
    }
}

TEST_F(DenoiseEntries, MutexFailing) {
    DenoiseCall call(kSpatial, kInBands, 9);
    const auto failed = [&](int result, int /*nth*/) {
        EXPECT_EQ(result, retStsThreadError);
        EXPECT_TRUE(eventsWere(callWith(call, joined({kBandsInit, {kStage + "Init Error\n"}}))));
        EXPECT_TRUE(call.picture.untouched());
    };
    EXPECT_EQ(failEach(kMutexInit, call, failed), 1);
}

// Often, unless the machine is emulated or the program instrumented.
#if defined(__aarch64__) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kRuns = 20;
#else
constexpr int kRuns = 300;
#endif

// The same call gives the same bytes whichever band comes first. Without chroma, luma is all that the bands meet for.
TEST_F(DenoiseEntries, WhicheverBandIsFirst) {
    for (const Entry entry : kEntries) {
        for (const int chroma : {0, 1}) {
            if (entry != kSpatial && chroma == 0) continue;
            DenoiseCall call(entry, {300, 260}, 10);
            call.dn.chromaNrEnable = chroma;
            call.learn();
            for (const uint32_t microseconds : {300, 3000}) {
                const JitteredThreads jittered(microseconds);
                for (int run = 0; run < kRuns; ++run) {
                    call.picture.restore();
                    ASSERT_EQ(call.run(), retStsOK);
                    ASSERT_TRUE(call.picture.isGood()) << entry << ", " << run;
                }
            }
        }
    }
}

// The host's own allocator gives blocks as large as asked for and no more, which end `g_shift` bytes before a protected
// page: at no alignment that anyone promised. The library calls from several threads at once.
std::mutex g_mutex;
std::map<void*, std::unique_ptr<GuardedMemory>> g_blocks;
int g_taken;
int g_shift;

void* hookAlloc(uint32_t size, const char* /*tag*/, uintptr_t /*zero*/) {
    const std::lock_guard lock(g_mutex);
    auto block = std::make_unique<GuardedMemory>(size, Placement{Placement::kAtEnd, g_shift});
    void* memory = block->data();
    g_blocks[memory] = std::move(block);
    ++g_taken;
    return memory;
}
void hookFree(void* memory, const char* /*tag*/, uintptr_t /*zero*/) {
    const std::lock_guard lock(g_mutex);
    EXPECT_TRUE(g_blocks.at(memory)->surroundingsIntact());
    g_blocks.erase(memory);
}

// Each luma band takes a block, and the low level one for its table.
TEST_F(DenoiseEntries, TakeTheirScratchFromTheHost) {
    const struct {
        Entry entry;
        Shape shape;
        int blocks;
    } cases[] = {{kSpatial, {128, 260}, 4}, {kSpatial, {131, 260}, 4}, {kSpatial, {300, 260}, 4},
                 {kChromaLow, kWhole, 1},   {kChromaLow, kInBands, 1}, {kChromaHigh, kInBands, 0}};
    MemAllocatorTable table{hookAlloc, hookFree, nullptr};
    for (const auto& c : cases) {
        DenoiseCall call(c.entry, c.shape, 21);
        call.learn();
        setMemAllocatorMFNR(&table);
        for (const int shift : {0, 1, 2, 7}) {
            g_shift = shift;
            g_taken = 0;
            call.picture.restore();
            EXPECT_EQ(call.run(), retStsOK);
            EXPECT_TRUE(call.picture.isGood()) << "shift " << shift;
            EXPECT_EQ(g_taken, c.blocks);
            EXPECT_TRUE(g_blocks.empty());
        }
        setMemAllocatorMFNR(nullptr);
    }
}

}  // namespace
}  // namespace eis::test
