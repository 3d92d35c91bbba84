// Scratch from the host's own allocator: as large as asked for and no more, at no alignment that anyone promised.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "libCore/core/source/slots.h"
#include "tests/denoise/chroma_call.h"
#include "tests/denoise/spatial_call.h"
#include "tests/harness/planes.h"

namespace eis::test {
namespace {

// Blocks that end `shift` bytes before a protected page. The library calls from several threads at once.
struct HookState {
    std::mutex mutex;
    std::map<void*, std::unique_ptr<GuardedMemory>> blocks;
    int taken = 0;
    int shift = 0;
};
HookState& hookState() {
    static HookState state;
    return state;
}

void* hookAlloc(uint32_t size, const char* tag, uintptr_t zero) {
    EXPECT_STREQ(tag, "huefuse_AP");
    EXPECT_EQ(zero, 0u);
    HookState& state = hookState();
    const std::lock_guard<std::mutex> lock(state.mutex);
    auto block = std::make_unique<GuardedMemory>(size, Placement{Placement::kAtEnd, state.shift});
    void* memory = block->data();
    state.blocks[memory] = std::move(block);
    ++state.taken;
    return memory;
}

void hookFree(void* memory, const char* /*tag*/, uintptr_t /*zero*/) {
    HookState& state = hookState();
    const std::lock_guard<std::mutex> lock(state.mutex);
    EXPECT_TRUE(state.blocks.at(memory)->surroundingsIntact());
    state.blocks.erase(memory);
}

class HostAllocator : public testing::Test {
  protected:
    HostAllocator() { setMemAllocatorMFNR(&table_); }
    ~HostAllocator() override { setMemAllocatorMFNR(nullptr); }

    // Runs the call with blocks at several alignments.
    template <class Call>
    void check(Call& call, const TestPicture& picture, int blocks) {
        call.expect();
        for (const int shift : {0, 1, 2, 7}) {
            hookState().shift = shift;
            hookState().taken = 0;
            call.picture.restore();
            EXPECT_EQ(call.run(), retStsOK);
            EXPECT_TRUE(picture.asExpected()) << "shift " << shift;
            EXPECT_EQ(hookState().taken, blocks);
            EXPECT_TRUE(hookState().blocks.empty());
        }
    }

  private:
    MemAllocatorTable table_{hookAlloc, hookFree, nullptr};
};

TEST_F(HostAllocator, GivesEachLumaBandItsBlock) {
    for (const int width : {128, 130, 131, 300}) {
        SpatialCallFixture call(width, 260, 20 + width);
        check(call, call.picture, 4);
    }
}

TEST_F(HostAllocator, GivesTheLowLevelItsTable) {
    for (const int height : {132, 272}) {
        ChromaCallFixture call({144, height, true}, 21);
        check(call, call.picture, 1);
    }
}

}  // namespace
}  // namespace eis::test
