// The two entries: what they log and call, what they write and leave alone, what they install.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "include/acore_api.h"
#include "libCore/core/source/frame/memory.h"
#include "libCore/core/source/frame/slots.h"
#include "tests/harness/calls.h"
#include "tests/harness/content.h"
#include "tests/harness/entry_faults.h"
#include "tests/harness/planes.h"

namespace eis::test {

namespace {

// A table block between protected pages, filled with a pattern, under the name "tables", and an unaligned call block.
template <class Block>
class Call {
  public:
    Call(int entries, ret_status (*entry)(const Block*)) : entry_(entry), memory_(2 * static_cast<size_t>(entries)) {
        std::memset(memory_.data(), 0x5a, memory_.size());
        address = space.add("tables", memory_.data(), memory_.size());
    }

    ret_status run(const Block& block) const {
        uint8_t bytes[sizeof block + 1];
        std::memcpy(bytes + 1, &block, sizeof block);
        const void* unaligned = bytes + 1;
        return entry_(static_cast<const Block*>(unaligned));
    }
    const int16_t* entries() const { return reinterpret_cast<const int16_t*>(memory_.data()); }
    uint64_t digestAll() const { return digest(memory_.data(), memory_.size()); }
    bool untouched() const {
        return std::all_of(memory_.data(), memory_.data() + memory_.size(), [](uint8_t byte) { return byte == 0x5a; });
    }

    DeviceSpace space;
    DeviceAddress address;

  private:
    ret_status (*entry_)(const Block*);
    GuardedMemory memory_;
};

// Digests of whole blocks, computed apart from this code as those of the curves were.
struct FastCase {
    int32_t tail, detail, luma, uv, threshold;
    float shading;
    uint64_t digest;
};
constexpr FastCase kFastCases[] = {
    {-105, 0, -100, -105, 0, 1.0f, 0xb93a0c83ce3b6325},  // all zeros
    {-50, -47, -20, -50, 100, 1.5f, 0x8843cc69dc3a2380},
    {0, -99, 0, 0, 254, 0.0f, 0x1ff55e2b87c3a7a4},
    // Beyond the ranges: negative strengths, products and sums that wrap, a shading strength that is no number.
    {0, -60, 410, 100, 254, -2.5f, 0x632bea9a39d95955},
    {-120, -70, -150, -120, -5, 0.3f, 0x791d3b846df536f6},
    {INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX, 1.0f, 0x69bcaeae587e53c2},
    {INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INFINITY, 0x628763926289a7d6},
    {-20, -80, 30, -40, 60, NAN, 0x47b83eed662b0818},
};

struct FastCall : Call<ST_FAST_DN2D_CONTROL> {
    FastCall() : Call(kFastEntries, CalcFastDn2dControl_AcoreAPI) {}
    ret_status run(const FastCase& c) const {
        return Call::run({address, {1, 2, 3}, c.tail, c.detail, c.luma, c.uv, c.threshold, c.shading});
    }
};

TEST(FastControl, WritesEveryTable) {
    for (const FastCase& c : kFastCases) {
        const FastCall call;
        EXPECT_EQ(call.run(c), retStsOK);
        EXPECT_EQ(call.digestAll(), c.digest) << c.tail << " " << c.shading;
    }
}

// An address that does not convert is no failure: nothing is written.
TEST(FastControl, LogsAndFlushesInOrder) {
    const FakeClock clock(5, 12345);
    FastCall call;
    char block[64];
    std::snprintf(block, sizeof block, "info fastDn2dControl.iDnCoefs = 0x%x\n", call.address);
    const auto events = [&](const std::string& pointer, const std::string& flushed) {
        return Events{"info [KRW]+++++++++++++++CalcFastDn2dControl_AcoreAPI START++++++++++++   * *:*:* \n",
                      block,
                      "convert tables",
                      "info iDnCoefs = 0x" + pointer + "\n",
                      "info nrShadingStrength = 1.500000\n",
                      "info nrLumaRatio = -20, nrLumaDetail= -47\n",
                      "info nrUVRatio = -50\n",
                      "info nrTH = 100\n",
                      "flush " + flushed,
                      "info  ====CalcFastDn2dControl_AcoreAPI cost 12.3 ms \n"};
    };
    eachAddressNull(
        call.space, {{"tables", retStsOK, events("(nil)", "null")}}, [&] { return call.run(kFastCases[1]); },
        [&] { return call.untouched(); });
    clearEvents();
    EXPECT_EQ(call.run(kFastCases[1]), retStsOK);
    EXPECT_TRUE(eventsWere(events("0x*", "tables")));
}

struct ShrinkCase {
    int32_t luma, shrink0, shrink1, shrink2, detail;
    uint64_t digest;
};
// With 0x5a in the bytes that are not written.
constexpr ShrinkCase kShrinkCases[] = {
    {-100, -128, -128, -128, 0, 0x6eeb50ba0b89b3bb},  // ramps and zeros
    {0, 0, -64, 100, -80, 0x5126ff122d815bc9},
    {410, 382, 383, -127, -99, 0x23bac729adb5726b},
    {INT32_MAX, INT32_MAX, INT32_MIN, -200, INT32_MIN, 0xdfc4fd5b7bcc4a03},
};

struct ShrinkCall : Call<ST_SHRINK_LUT_CONTROL> {
    ShrinkCall() : Call(kShrinkEntries, CalcShrinkLUTDnCoef) {}
    ret_status run(const ShrinkCase& c, const MemAllocatorTable* allocator = nullptr) const {
        return Call::run(
            {address, c.luma, c.shrink0, c.shrink1, c.shrink2, c.detail, reinterpret_cast<uintptr_t>(allocator)});
    }
};

TEST(ShrinkTables, WritesEveryTableAndNothingBetween) {
    for (const ShrinkCase& c : kShrinkCases) {
        const ShrinkCall call;
        EXPECT_EQ(call.run(c), retStsOK);
        EXPECT_EQ(call.digestAll(), c.digest) << c.luma << " " << c.shrink0;
        for (int i = 3313; i < kShrinkLumaGain; ++i) EXPECT_EQ(call.entries()[i], 0x5a5a) << i;
    }
}

int g_allocations;

TEST(ShrinkTables, InstallsTheAllocatorOfASuccessfulRun) {
    const MemAllocatorTable table = {[](uint32_t size, const char*, uintptr_t) {
                                         ++g_allocations;
                                         return std::malloc(size);
                                     },
                                     [](void* memory, const char*, uintptr_t) { std::free(memory); }, nullptr};
    ShrinkCall call;
    const std::string installed =
        "info setMemAllocatorMFNR addr " + std::to_string(static_cast<long long>(reinterpret_cast<uintptr_t>(&table)));
    const Events failed = {"error Enter CalcShrinkLUTDnCoef", "convert tables",
                           "error CalcShrinkLUTDnCoef_AcoreAPI FunConvert2Addr error\n"};
    eachAddressNull(
        call.space, {{"tables", retStsBadAddress, failed}}, [&] { return call.run(kShrinkCases[1], &table); },
        [&] { return call.untouched() && g_memAllocatorMFNR == nullptr; });
    clearEvents();
    EXPECT_EQ(call.run(kShrinkCases[1], &table), retStsOK);
    EXPECT_EQ(call.run(kShrinkCases[1]), retStsOK) << "without a table the installed one stays";
    EXPECT_TRUE(eventsWere({"error Enter CalcShrinkLUTDnCoef", "convert tables", "flush tables", installed,
                            "error Enter CalcShrinkLUTDnCoef", "convert tables", "flush tables"}));
    iFree_Pool(iMalloc_Pool(16, "test", __LINE__), "test", __LINE__);
    EXPECT_EQ(g_allocations, 1);
    setMemAllocatorMFNR(nullptr);
}

}  // namespace

}  // namespace eis::test
