// The memory wrappers, with and without the host's table, and what they tell the trace hooks.
#include "libCore/core/source/memory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "libCore/core/source/slots.h"
#include "tests/frame/trace_recorder.h"
#include "tests/harness/calls.h"

namespace eis {
namespace {

using test::ResourceWatch;
using test::takeTraces;
using test::TraceRecord;

constexpr char kMalloc[] = "void* iMalloc(size_t, const char*, int)";
constexpr char kFree[] = "void iFree(void*, const char*, int)";
constexpr char kMallocPool[] = "void* iMalloc_Pool(size_t, const char*, int)";
constexpr char kFreePool[] = "void iFree_Pool(void*, const char*, int)";

void expectMemoryTrace(const TraceRecord& trace, bool acquired, const char* signature, const void* memory,
                       size_t size) {
    EXPECT_EQ(trace.acquired, acquired);
    EXPECT_EQ(trace.tag, "AP_EIS");
    EXPECT_EQ(trace.unit, "libCore/core/source/kelvane_mfdenoise");
    EXPECT_EQ(trace.signature, signature);
    EXPECT_GT(trace.line, 0);
    EXPECT_EQ(trace.kind, 0);
    EXPECT_EQ(trace.memory, memory);
    EXPECT_EQ(trace.size, size);
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
        takeTraces();
        g_allocs = g_frees = 0;
        g_size = 0;
    }
    ~Memory() override { setMemAllocatorMFNR(nullptr); }

    MemAllocatorTable table_{hostAlloc, hostFree, nullptr};
};

TEST_F(Memory, ProcessHeap) {
    const ResourceWatch watch;
    void* plain = iMalloc(100, "caller", 7);
    void* pool = iMalloc_Pool(200, "caller", 8);
    ASSERT_NE(plain, nullptr);
    ASSERT_NE(pool, nullptr);
    iFree(plain, "caller", 9);
    iFree_Pool(pool, "caller", 10);
    EXPECT_TRUE(watch.nothingLeft());
    EXPECT_EQ(watch.count(test::kMalloc), 2);

    const auto traces = takeTraces();
    ASSERT_EQ(traces.size(), 5u);
    expectMemoryTrace(traces[0], true, kMalloc, plain, 100);
    expectMemoryTrace(traces[1], true, kMallocPool, nullptr, 200);
    expectMemoryTrace(traces[2], true, kMalloc, pool, 200);
    expectMemoryTrace(traces[3], false, kFree, plain, 0);
    expectMemoryTrace(traces[4], false, kFree, pool, 0);
}

TEST_F(Memory, HostTable) {
    setMemAllocatorMFNR(&table_);
    const ResourceWatch watch;
    void* memory = iMalloc_Pool(48, "caller", 1);
    EXPECT_EQ(memory, g_block);
    EXPECT_EQ(g_size, 48u);
    iFree_Pool(memory, "caller", 2);
    EXPECT_EQ(g_frees, 1);
    EXPECT_EQ(watch.count(test::kAllocation), 0);
    const auto traces = takeTraces();
    ASSERT_EQ(traces.size(), 2u);
    expectMemoryTrace(traces[0], true, kMallocPool, g_block, 48);
    expectMemoryTrace(traces[1], false, kFreePool, g_block, 0);

    // The other pair stays with the process heap.
    iFree(iMalloc(5, "caller", 3), "caller", 4);
    EXPECT_EQ(watch.count(test::kAllocation), 1);
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
    EXPECT_EQ(g_size, UINT32_MAX);
    // A size that 32 bits do not hold must not come back as a short block.
    for (const size_t size : {size_t{UINT32_MAX} + 1, size_t{UINT32_MAX} + 49, SIZE_MAX}) {
        EXPECT_EQ(iMalloc_Pool(size, "caller", 6), nullptr);
    }
    EXPECT_EQ(g_allocs, 2);
}

TEST_F(Memory, ScratchFreesOnce) {
    const ResourceWatch watch;
    {
        Scratch<uint16_t> first(40, "caller");
        ASSERT_TRUE(first);
        std::memset(first.get(), 0, 40);
        Scratch<uint16_t> second(std::move(first));
        EXPECT_TRUE(second);
        Scratch<uint8_t> early(8, "caller");
        early.reset();
        EXPECT_FALSE(early);
        const Scratch<uint8_t> impossible(-1, "caller");
        EXPECT_FALSE(impossible);
    }
    EXPECT_TRUE(watch.nothingLeft());
    setMemAllocatorMFNR(&table_);
    { const PoolScratch<uint8_t> pool(16, "caller"); }
    EXPECT_EQ(g_frees, 1);
}

}  // namespace
}  // namespace eis
