// The two entries: what they log and call, what they write and leave alone, what they install.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "include/acore_api.h"
#include "libCore/core/source/memory.h"
#include "libCore/core/source/slots.h"
#include "tests/control/digest.h"
#include "tests/harness/calls.h"
#include "tests/harness/device_space.h"
#include "tests/harness/events.h"
#include "tests/harness/planes.h"

namespace eis::test {

namespace {

// A table block between protected pages, filled with a pattern, under the name "tables".
class Tables {
  public:
    explicit Tables(int entries) : entries_(entries), memory_(2 * static_cast<size_t>(entries)) {
        std::memset(memory_.data(), 0x5a, memory_.size());
        address_ = space_.add("tables", memory_.data(), memory_.size());
    }

    DeviceSpace& space() { return space_; }
    DeviceAddress address() const { return address_; }
    std::span<const int16_t> entries() const {
        return {reinterpret_cast<const int16_t*>(memory_.data()), static_cast<size_t>(entries_)};
    }
    testing::AssertionResult untouched() const {
        for (const int16_t entry : entries()) {
            if (entry != 0x5a5a) return testing::AssertionFailure() << "written";
        }
        return testing::AssertionSuccess();
    }

  private:
    DeviceSpace space_;
    int entries_;
    GuardedMemory memory_;
    DeviceAddress address_;
};

// The hook goes back to what it was.
class HookGuard {
  public:
    HookGuard() = default;
    HookGuard(const HookGuard&) = delete;
    HookGuard& operator=(const HookGuard&) = delete;
    ~HookGuard() { g_memAllocatorMFNR = before_; }

  private:
    MemAllocatorTable* before_ = g_memAllocatorMFNR;
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

ST_FAST_DN2D_CONTROL fastBlock(const FastCase& c, DeviceAddress tables) {
    return {tables, {1, 2, 3}, c.tail, c.detail, c.luma, c.uv, c.threshold, c.shading};
}

Events fastEvents(const char* address, const char* pointer, const char* tables) {
    return {"info [KRW]+++++++++++++++CalcFastDn2dControl_AcoreAPI START++++++++++++   * *:*:* \n",
            std::string("info fastDn2dControl.iDnCoefs = 0x") + address + "\n",
            std::string("convert ") + tables,
            std::string("info iDnCoefs = 0x") + pointer + "\n",
            "info nrShadingStrength = 1.500000\n",
            "info nrLumaRatio = -20, nrLumaDetail= -47\n",
            "info nrUVRatio = -50\n",
            "info nrTH = 100\n",
            std::string("flush ") + tables,
            "info  ====CalcFastDn2dControl_AcoreAPI cost 12.3 ms \n"};
}

TEST(FastControl, WritesEveryTable) {
    for (const FastCase& c : kFastCases) {
        Tables tables(kFastEntries);
        const ST_FAST_DN2D_CONTROL block = fastBlock(c, tables.address());
        EXPECT_EQ(CalcFastDn2dControl_AcoreAPI(&block), retStsOK);
        EXPECT_EQ(digest(tables.entries()), c.digest) << c.tail << " " << c.shading;
    }
}

TEST(FastControl, LogsAndFlushesInOrder) {
    const FakeClock clock(5, 12345);
    Tables tables(kFastEntries);
    const ST_FAST_DN2D_CONTROL block = fastBlock(kFastCases[1], tables.address());
    EXPECT_EQ(CalcFastDn2dControl_AcoreAPI(&block), retStsOK);
    EXPECT_TRUE(eventsWere(fastEvents("a*", "0x*", "tables")));
}

TEST(FastControl, AddressThatDoesNotConvertWritesNothingAndIsNoFailure) {
    const FakeClock clock(5, 12345);
    Tables tables(kFastEntries);
    tables.space().refuse("tables");
    const ST_FAST_DN2D_CONTROL block = fastBlock(kFastCases[1], tables.address());
    EXPECT_EQ(CalcFastDn2dControl_AcoreAPI(&block), retStsOK);
    Events expected = fastEvents("a*", "(nil)", "tables");
    expected[8] = "flush null";
    EXPECT_TRUE(eventsWere(expected));
    EXPECT_TRUE(tables.untouched());
}

TEST(FastControl, TakesAnUnalignedBlock) {
    Tables tables(kFastEntries);
    const ST_FAST_DN2D_CONTROL block = fastBlock(kFastCases[1], tables.address());
    uint8_t bytes[sizeof block + 1];
    std::memcpy(bytes + 1, &block, sizeof block);
    const void* unaligned = bytes + 1;
    EXPECT_EQ(CalcFastDn2dControl_AcoreAPI(static_cast<const ST_FAST_DN2D_CONTROL*>(unaligned)), retStsOK);
    EXPECT_EQ(digest(tables.entries()), kFastCases[1].digest);
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

ST_SHRINK_LUT_CONTROL shrinkBlock(const ShrinkCase& c, DeviceAddress tables, const MemAllocatorTable* allocator) {
    return {tables, c.luma, c.shrink0, c.shrink1, c.shrink2, c.detail, reinterpret_cast<uintptr_t>(allocator)};
}

TEST(ShrinkTables, WritesEveryTableAndNothingBetween) {
    for (const ShrinkCase& c : kShrinkCases) {
        Tables tables(kShrinkEntries);
        const ST_SHRINK_LUT_CONTROL block = shrinkBlock(c, tables.address(), nullptr);
        EXPECT_EQ(CalcShrinkLUTDnCoef(&block), retStsOK);
        EXPECT_EQ(digest(tables.entries()), c.digest) << c.luma << " " << c.shrink0;
        for (int i = 3313; i < kShrinkLumaGain; ++i) EXPECT_EQ(tables.entries()[i], 0x5a5a) << i;
    }
}

TEST(ShrinkTables, LogsAndFlushesInOrder) {
    Tables tables(kShrinkEntries);
    const ST_SHRINK_LUT_CONTROL block = shrinkBlock(kShrinkCases[1], tables.address(), nullptr);
    EXPECT_EQ(CalcShrinkLUTDnCoef(&block), retStsOK);
    EXPECT_TRUE(eventsWere({"error Enter CalcShrinkLUTDnCoef", "convert tables", "flush tables"}));
}

int g_allocations;

TEST(ShrinkTables, InstallsTheAllocatorOfASuccessfulRun) {
    const HookGuard hook;
    const MemAllocatorTable table = {[](uint32_t size, const char*, uintptr_t) {
                                         ++g_allocations;
                                         return std::malloc(size);
                                     },
                                     [](void* memory, const char*, uintptr_t) { std::free(memory); }, nullptr};
    Tables tables(kShrinkEntries);
    const std::string installed =
        "info setMemAllocatorMFNR addr " + std::to_string(static_cast<long long>(reinterpret_cast<uintptr_t>(&table)));

    tables.space().refuse("tables");
    ST_SHRINK_LUT_CONTROL block = shrinkBlock(kShrinkCases[1], tables.address(), &table);
    EXPECT_EQ(CalcShrinkLUTDnCoef(&block), retStsBadAddress);
    EXPECT_TRUE(eventsWere({"error Enter CalcShrinkLUTDnCoef", "convert tables",
                            "error CalcShrinkLUTDnCoef_AcoreAPI FunConvert2Addr error\n"}));
    EXPECT_TRUE(tables.untouched());
    EXPECT_EQ(g_memAllocatorMFNR, nullptr);

    tables.space().allow();
    clearEvents();
    EXPECT_EQ(CalcShrinkLUTDnCoef(&block), retStsOK);
    EXPECT_TRUE(eventsWere({"error Enter CalcShrinkLUTDnCoef", "convert tables", "flush tables", installed}));
    g_allocations = 0;
    iFree_Pool(iMalloc_Pool(16, "test", __LINE__), "test", __LINE__);
    EXPECT_EQ(g_allocations, 1);

    block.memAllocator = 0;
    EXPECT_EQ(CalcShrinkLUTDnCoef(&block), retStsOK);
    EXPECT_EQ(g_memAllocatorMFNR, &table);
}

TEST(ShrinkTables, TakesAnUnalignedBlock) {
    Tables tables(kShrinkEntries);
    const ST_SHRINK_LUT_CONTROL block = shrinkBlock(kShrinkCases[1], tables.address(), nullptr);
    uint8_t bytes[sizeof block + 1];
    std::memcpy(bytes + 1, &block, sizeof block);
    const void* unaligned = bytes + 1;
    EXPECT_EQ(CalcShrinkLUTDnCoef(static_cast<const ST_SHRINK_LUT_CONTROL*>(unaligned)), retStsOK);
    EXPECT_EQ(digest(tables.entries()), kShrinkCases[1].digest);
}

}  // namespace

}  // namespace eis::test
