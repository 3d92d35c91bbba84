// The memory wrappers, with and without the host's table, and what they tell the trace hooks.
#include "libCore/core/source/frame/memory.h"

#include <gtest/gtest.h>

#include <string>

#include "libCore/core/source/frame/slots.h"
#include "tests/harness/calls.h"
#include "tests/harness/traces.h"

namespace eis {
namespace {

const std::string kUnit = "AP_EIS libCore/core/source/kelvane_mfdenoise ";
const std::string kMalloc = "+" + kUnit + "void* iMalloc(size_t, const char*, int)";
const std::string kFree = "-" + kUnit + "void iFree(void*, const char*, int)";
const std::string kMallocPool = "+" + kUnit + "void* iMalloc_Pool(size_t, const char*, int)";
const std::string kFreePool = "-" + kUnit + "void iFree_Pool(void*, const char*, int)";

void expectTraces(const std::vector<test::TraceRecord>& expected) {
    const auto traces = test::takeTraces();
    ASSERT_EQ(traces.size(), expected.size());
    for (size_t i = 0; i < traces.size(); ++i) {
        EXPECT_EQ(traces[i].text, expected[i].text);
        EXPECT_EQ(traces[i].what, expected[i].what) << traces[i].text;
        EXPECT_EQ(traces[i].size, expected[i].size) << traces[i].text;
    }
}

// A host's allocator with one block; calls are counted.
alignas(16) char g_block[64];
int g_allocs;
int g_frees;
uint32_t g_size;

void* hostAlloc(uint32_t size, const char* tag, uintptr_t zero) {
    EXPECT_STREQ(tag, "huefuse_AP");
    EXPECT_EQ(zero, 0u);
    ++g_allocs;
    g_size = size;
    return size == 13 ? nullptr : g_block;
}
void hostFree(void* memory, const char* tag, uintptr_t zero) {
    EXPECT_EQ(memory, g_block);
    EXPECT_STREQ(tag, "huefuse_AP");
    EXPECT_EQ(zero, 0u);
    ++g_frees;
}

class Memory : public testing::Test {
  protected:
    Memory() {
        test::takeTraces();
        g_allocs = g_frees = 0;
    }
    ~Memory() override { setMemAllocatorMFNR(nullptr); }

    MemAllocatorTable table_{hostAlloc, hostFree, nullptr};
};

TEST_F(Memory, HeapAndHostTable) {
    const test::ResourceWatch watch;
    void* plain = iMalloc(100, "caller", 7);
    void* pool = iMalloc_Pool(200, "caller", 8);
    ASSERT_NE(plain, nullptr);
    ASSERT_NE(pool, nullptr);
    iFree(plain, "caller", 9);
    iFree_Pool(pool, "caller", 10);
    EXPECT_TRUE(watch.nothingLeft());
    EXPECT_EQ(watch.count(test::kMalloc), 2);
    const auto first = reinterpret_cast<uintptr_t>(plain);
    const auto second = reinterpret_cast<uintptr_t>(pool);
    expectTraces(
        {{kMalloc, first, 100}, {kMallocPool, 0, 200}, {kMalloc, second, 200}, {kFree, first, 0}, {kFree, second, 0}});

    setMemAllocatorMFNR(&table_);
    EXPECT_EQ(iMalloc_Pool(48, "caller", 1), g_block);
    EXPECT_EQ(g_size, 48u);
    iFree_Pool(g_block, "caller", 2);
    EXPECT_EQ(g_frees, 1);
    EXPECT_EQ(watch.count(test::kMalloc), 2);
    const auto block = reinterpret_cast<uintptr_t>(&g_block);
    expectTraces({{kMallocPool, block, 48}, {kFreePool, block, 0}});
    // The other pair stays with the process heap.
    iFree(iMalloc(5, "caller", 3), "caller", 4);
    EXPECT_EQ(watch.count(test::kMalloc), 3);
    EXPECT_EQ(g_allocs, 1);
}

TEST_F(Memory, NoMemory) {
    EXPECT_EQ(iMalloc(static_cast<size_t>(int64_t{-8}), "caller", 1), nullptr);
    {
        const test::FailNth fail(test::kMalloc, 1, 2);
        EXPECT_EQ(iMalloc(8, "caller", 2), nullptr);
        EXPECT_EQ(iMalloc_Pool(8, "caller", 3), nullptr);
    }
    setMemAllocatorMFNR(&table_);
    EXPECT_EQ(iMalloc_Pool(13, "caller", 4), nullptr);
    EXPECT_EQ(iMalloc_Pool(UINT32_MAX, "caller", 5), g_block);
    // A size that 32 bits do not hold must not come back as a short block.
    for (const size_t size : {size_t{UINT32_MAX} + 1, size_t{UINT32_MAX} + 49, SIZE_MAX}) {
        EXPECT_EQ(iMalloc_Pool(size, "caller", 6), nullptr);
    }
    EXPECT_EQ(g_allocs, 2);
}

}  // namespace
}  // namespace eis
