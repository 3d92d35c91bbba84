// The memory wrappers, with and without the host's table, and what they tell the trace hooks.
#include "libCore/core/source/frame/memory.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <string>
#include <vector>

#include "bounded/heap_block.h"
#include "libCore/core/source/frame/slots.h"
#include "tests/harness/calls.h"
#include "tests/harness/traces.h"

namespace eis {
namespace {

// What the hooks were told since the last look: sign and function, memory and size.
struct Told {
    std::string function;
    const void* memory;
    size_t size;
};
void expectTold(const std::vector<Told>& expected) {
    const std::string unit = "AP_EIS libCore/core/source/kelvane_mfdenoise ";
    const auto traces = test::takeTraces();
    ASSERT_EQ(traces.size(), expected.size());
    for (size_t i = 0; i < traces.size(); ++i) {
        const bool isMalloc = expected[i].function.find("iMalloc") == 0;
        EXPECT_EQ(traces[i].text, (isMalloc ? "+" + unit + "void* " : "-" + unit + "void ") + expected[i].function +
                                      (isMalloc ? "(size_t, const char*, int)" : "(void*, const char*, int)"));
        EXPECT_EQ(traces[i].what, reinterpret_cast<uintptr_t>(expected[i].memory)) << traces[i].text;
        EXPECT_EQ(traces[i].size, expected[i].size) << traces[i].text;
    }
}

// A host's allocator with one block, which has none of 13 bytes.
alignas(16) char g_block[64];
uint32_t g_size;
int g_held;

void* hostAlloc(uint32_t size, const char* tag, uintptr_t zero) {
    EXPECT_STREQ(tag, "huefuse_AP");
    EXPECT_EQ(zero, 0u);
    g_size = size;
    ++g_held;
    return size == 13 ? nullptr : g_block;
}
void hostFree(void* memory, const char* tag, uintptr_t zero) {
    EXPECT_EQ(memory, g_block);
    EXPECT_STREQ(tag, "huefuse_AP");
    EXPECT_EQ(zero, 0u);
    --g_held;
}

TEST(Memory, BlocksHoldTheirItems) {
    EXPECT_GE(malloc_usable_size(heapBlock<uint64_t>(1000).get()), 8000u);
}

TEST(Memory, FromTheHeapAndFromTheHostsTable) {
    test::takeTraces();
    const test::ResourceWatch watch;
    void* plain = iMalloc(100, "caller", 7);
    void* pool = iMalloc_Pool(200, "caller", 8);
    ASSERT_TRUE(plain != nullptr && pool != nullptr);
    iFree(plain, "caller", 9);
    iFree_Pool(pool, "caller", 10);
    EXPECT_TRUE(watch.nothingLeft());
    expectTold({{"iMalloc", plain, 100},
                {"iMalloc_Pool", nullptr, 200},
                {"iMalloc", pool, 200},
                {"iFree", plain, 0},
                {"iFree", pool, 0}});

    MemAllocatorTable table{hostAlloc, hostFree, nullptr};
    setMemAllocatorMFNR(&table);
    EXPECT_EQ(iMalloc_Pool(48, "caller", 1), g_block);
    EXPECT_EQ(g_size, 48u);
    iFree_Pool(g_block, "caller", 2);
    EXPECT_EQ(g_held, 0);
    expectTold({{"iMalloc_Pool", g_block, 48}, {"iFree_Pool", g_block, 0}});
    // The other pair stays with the process heap.
    EXPECT_EQ(watch.count(test::kMalloc), 2);
    iFree(iMalloc(5, "caller", 3), "caller", 4);
    EXPECT_EQ(watch.count(test::kMalloc), 3);

    EXPECT_EQ(iMalloc_Pool(13, "caller", 4), nullptr);
    EXPECT_EQ(iMalloc_Pool(UINT32_MAX, "caller", 5), g_block);
    // A size that 32 bits do not hold must not come back as a short block.
    for (const size_t size : {size_t{UINT32_MAX} + 1, size_t{UINT32_MAX} + 49, SIZE_MAX}) {
        EXPECT_EQ(iMalloc_Pool(size, "caller", 6), nullptr);
    }
    setMemAllocatorMFNR(nullptr);
    EXPECT_EQ(iMalloc(static_cast<size_t>(int64_t{-8}), "caller", 1), nullptr);
    const test::FailNth fail(test::kMalloc, 1, 2);
    EXPECT_EQ(iMalloc(8, "caller", 2), nullptr);
    EXPECT_EQ(iMalloc_Pool(8, "caller", 3), nullptr);
}

}  // namespace
}  // namespace eis
