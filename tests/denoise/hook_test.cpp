// Scratch from the host's own allocator: as large as asked for and no more, at no alignment that anyone promised.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <mutex>

#include "libCore/core/source/frame/slots.h"
#include "tests/denoise/chroma_call.h"
#include "tests/denoise/spatial_call.h"

namespace eis::test {
namespace {

// Blocks that end `shift` bytes before a protected page. The library calls from several threads at once.
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

template <class Call>
void expectGood(Call call, int blocks) {
    MemAllocatorTable table{hookAlloc, hookFree, nullptr};
    setMemAllocatorMFNR(&table);
    call.expect();
    for (const int shift : {0, 1, 2, 7}) {
        g_shift = shift;
        g_taken = 0;
        call.picture.restore();
        EXPECT_EQ(call.run(), retStsOK);
        EXPECT_TRUE(call.picture.asExpected()) << "shift " << shift;
        EXPECT_EQ(g_taken, blocks);
        EXPECT_TRUE(g_blocks.empty());
    }
    setMemAllocatorMFNR(nullptr);
}

TEST(HostAllocator, GivesEachLumaBandAndTheLowLevelsTable) {
    for (const int width : {128, 130, 131, 300}) expectGood(SpatialCallFixture(width, 260, 20 + width), 4);
    for (const int height : {132, 272}) expectGood(ChromaCallFixture({144, height, true}, 21), 1);
}

}  // namespace
}  // namespace eis::test
