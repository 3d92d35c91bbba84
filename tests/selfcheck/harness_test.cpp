// The harness itself: what it is to catch, it must catch.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <semaphore.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/harness/calls.h"
#include "tests/harness/content.h"
#include "tests/harness/planes.h"

namespace eis::test {
namespace {

TEST(Harness, WatchSeesWhatIsLeft) {
    const ResourceWatch watch;
    // Static, or the compiler does without.
    static void* block;
    static void* object;
    block = std::calloc(3, 8);
    object = ::operator new(12);
    FILE* stream = std::fopen("/dev/null", "rb");
    pthread_t thread{};
    pthread_create(
        &thread, nullptr, [](void*) -> void* { return nullptr; }, nullptr);
    sem_t semaphore;
    sem_init(&semaphore, 0, 1);
    const testing::AssertionResult before = watch.nothingLeft();
    for (const char* what :
         {"malloc block of 24 bytes", "new block of 12 bytes", "open stream", "unjoined thread", "live semaphore"}) {
        EXPECT_NE(std::strstr(before.message(), what), nullptr) << before.message();
    }
    std::free(block);
    ::operator delete(object);
    EXPECT_EQ(std::fclose(stream), 0);
    pthread_join(thread, nullptr);
    sem_destroy(&semaphore);
    EXPECT_TRUE(watch.nothingLeft());
}

// Loses its first block with the second.
TEST(Harness, FaultLoopFailsEachCallInTurn) {
    static void* lost;
    static const FaultLoop loop{.calls = kMalloc,
                                .run =
                                    [] {
                                        // Volatile, since a compiler may leave out what nobody sees.
                                        void* volatile first = std::malloc(1);
                                        if (first == nullptr) return 1;
                                        void* volatile second = std::malloc(1);
                                        if (second == nullptr) {
                                            lost = first;
                                            return 2;
                                        }
                                        std::free(second);
                                        std::free(first);
                                        return 0;
                                    },
                                .failed = [](int result, int nth) { EXPECT_EQ(result, nth); }};
    EXPECT_NONFATAL_FAILURE(failEachInTurn(loop), "left behind:\n  malloc block of 1 bytes");
    std::free(lost);
}

TEST(Harness, PlanesGuardTheirEnds) {
    const Plane<uint8_t> atEnd(10, 4, 16, {Placement::kAtEnd}, true);
    const Plane<int16_t> atStart(5, 3, 8, {Placement::kAtStart, 4});
    fill(atEnd, Content::kRandom, 1);
    EXPECT_TRUE(atEnd.paddingIntact());
    EXPECT_DEATH(atEnd.row(3)[10] = 0, "");
    EXPECT_DEATH(atStart.data()[-3] = 0, "");
    atEnd.row(1)[10] ^= 1;
    EXPECT_FALSE(atEnd.paddingIntact());
    atStart.data()[-2] ^= 1;
    EXPECT_FALSE(atStart.paddingIntact());
}

}  // namespace
}  // namespace eis::test
