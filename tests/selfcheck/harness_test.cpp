// The harness itself: what it is to catch, it must catch.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <semaphore.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "libCore/core/source/log.h"
#include "libCore/core/source/slots.h"
#include "tests/harness/calls.h"
#include "tests/harness/content.h"
#include "tests/harness/device_space.h"
#include "tests/harness/events.h"
#include "tests/harness/planes.h"
#include "tests/harness/watchdog.h"

namespace eis::test {
namespace {

TEST(Harness, JournalKeepsOrderAndCompares) {
    DeviceSpace space;
    const int words[4] = {};
    const DeviceAddress address = space.addObject("words", words);
    EIS_LOG_INFO("took %d ms", 17);
    FunInvalidBuff(FunConvert2Addr(address + 4));
    space.refuse("words");
    EXPECT_EQ(FunConvert2Addr(address), nullptr);
    EXPECT_TRUE(eventsWere({"info took * ms", "convert words+4", "invalidate words+4", "convert words"}));
    EXPECT_FALSE(logWas({"info took * s"}));
    EXPECT_FALSE(callbacksWere({"convert words"}));
}

TEST(Harness, WatchSeesWhatIsLeft) {
    static void* block;
    static FILE* stream;
    static pthread_t thread;
    static sem_t semaphore;
    const struct {
        const char* left;
        void (*take)();
        void (*giveBack)();
    } cases[] = {
        {"malloc block of 24 bytes", [] { block = std::calloc(3, 8); }, [] { std::free(block); }},
        {"new block of 12 bytes", [] { block = ::operator new(12); }, [] { ::operator delete(block); }},
        {"open stream", [] { stream = std::fopen("/dev/null", "rb"); }, [] { static_cast<void>(std::fclose(stream)); }},
        {"unjoined thread",
         [] {
             pthread_create(
                 &thread, nullptr, [](void*) -> void* { return nullptr; }, nullptr);
         },
         [] { pthread_join(thread, nullptr); }},
        {"live semaphore", [] { sem_init(&semaphore, 0, 1); }, [] { sem_destroy(&semaphore); }},
    };
    for (const auto& c : cases) {
        const ResourceWatch watch;
        c.take();
        const auto before = watch.nothingLeft();
        c.giveBack();
        EXPECT_NE(std::string(before.message()).find(c.left), std::string::npos) << before.message();
        EXPECT_TRUE(watch.nothingLeft()) << c.left;
    }
}

// Loses its first block with the second.
TEST(Harness, FaultLoopFailsEachCallInTurn) {
    static void* lost;
    static const auto takeTwo = [] {
        void* first = std::malloc(1);
        if (first == nullptr) return 1;
        void* second = std::malloc(1);
        if (second == nullptr) {
            lost = first;
            return 2;
        }
        std::free(second);
        std::free(first);
        return 0;
    };
    static const FaultLoop loop{.calls = kMalloc,
                                .run = takeTwo,
                                .failed = [](int result, int nth) { EXPECT_EQ(result, nth); },
                                .succeeded = [](int result) { EXPECT_EQ(result, 0); }};
    EXPECT_NONFATAL_FAILURE(failEachInTurn(loop), "left behind:\n  malloc block of 1 bytes");
    EXPECT_NE(lost, nullptr);
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

// One value on every machine.
TEST(Harness, ContentsArePinned) {
    const Plane<int16_t> plane(33, 17);
    fill(plane, Content::kNatural, 3, -1000, 1000);
    EXPECT_EQ(digest("abc", 3), 0xE71FA2190541574Bu);
    EXPECT_EQ(digest(plane), 2057347516826374183u);
}

}  // namespace
}  // namespace eis::test
