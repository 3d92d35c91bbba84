// The harness itself: what it is to catch, it must catch.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <semaphore.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>

#include "libCore/core/source/clock.h"
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

void* nothing(void* /*unused*/) {
    return nullptr;
}
void* flushNull(void* /*unused*/) {
    FunFlushBuff(nullptr);
    return nullptr;
}

void onThread(void* (*function)(void*)) {
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, function, nullptr), 0);
    pthread_join(thread, nullptr);
}

TEST(Harness, JournalKeepsOrderAndCompares) {
    DeviceSpace space;
    const int words[4] = {};
    const DeviceAddress address = space.addObject("words", words);
    EIS_LOG_INFO("took %d ms", 17);
    FunInvalidBuff(FunConvert2Addr(address + 4));
    FunFlushBuff(nullptr);
    space.refuse("words");
    EXPECT_EQ(FunConvert2Addr(address), nullptr);
    EXPECT_EQ(FunConvert2Addr(0), nullptr);
    __android_log_print(ANDROID_LOG_ERROR, "MFNR_AP", "no %s", "device");
    EXPECT_TRUE(eventsWere({"info took * ms", "convert words+4", "invalidate words+4", "flush null", "convert words",
                            "convert ?", "error[MFNR_AP] no device"}));
    EXPECT_FALSE(logWas({"info took * ms"}));
    EXPECT_FALSE(logWas({"info took * s", "error[MFNR_AP] no device"}));
    EXPECT_FALSE(callbacksWere({"convert words"}));
}

TEST(Harness, CallbackFromAWorkerFails) {
    const DeviceSpace space;
    EXPECT_NONFATAL_FAILURE_ON_ALL_THREADS(onThread(flushNull), "from another thread");
}

TEST(Harness, WatchSeesWhatIsLeft) {
    static void* block;
    static FILE* stream;
    static pthread_t thread;
    static sem_t semaphore;
    static pthread_mutex_t mutex;
    const struct {
        const char* left;
        Call call;
        void (*take)();
        void (*giveBack)();
    } cases[] = {
        {"malloc block of 9 bytes", kMalloc, [] { block = std::malloc(9); }, [] { std::free(block); }},
        {"malloc block of 24 bytes", kMalloc, [] { block = std::calloc(3, 8); }, [] { std::free(block); }},
        {"new block of 12 bytes", kNew, [] { block = ::operator new(12); }, [] { ::operator delete(block); }},
        {"new block of 128 bytes", kNew, [] { block = ::operator new[](128, std::align_val_t{64}, std::nothrow); },
         [] { ::operator delete[](block, std::align_val_t{64}); }},
        {"open stream", kFopen, [] { stream = std::fopen("/dev/null", "rb"); },
         [] { static_cast<void>(std::fclose(stream)); }},
        {"unjoined thread", kThreadCreate, [] { pthread_create(&thread, nullptr, nothing, nullptr); },
         [] { pthread_join(thread, nullptr); }},
        {"unjoined thread", kThreadCreate, [] { pthread_create(&thread, nullptr, nothing, nullptr); },
         [] { pthread_detach(thread); }},
        {"live semaphore", kSemInit, [] { sem_init(&semaphore, 0, 1); }, [] { sem_destroy(&semaphore); }},
        {"live mutex", kMutexInit, [] { pthread_mutex_init(&mutex, nullptr); }, [] { pthread_mutex_destroy(&mutex); }},
    };
    for (const auto& c : cases) {
        const ResourceWatch watch;
        c.take();
        const auto before = watch.nothingLeft();
        c.giveBack();
        const auto after = watch.nothingLeft();
        EXPECT_EQ(watch.count(c.call), 1) << c.left;
        EXPECT_NE(std::string(before.message()).find(c.left), std::string::npos) << before.message();
        EXPECT_TRUE(after) << c.left;
    }
}

// Takes two blocks and copes with the loss of either; loses the first with the second when there is somewhere to lose
// it.
int takeTwo(void** lost) {
    void* first = std::malloc(1);
    if (first == nullptr) return 1;
    void* second = std::malloc(1);
    if (second == nullptr && lost != nullptr) {
        *lost = first;
        return 2;
    }
    std::free(second);
    std::free(first);
    return second == nullptr ? 2 : 0;
}

TEST(Harness, FaultLoopFailsEachCallInTurn) {
    static int runs;
    static void* lost;
    static void** keeper;
    static const FaultLoop loop{.calls = kMalloc,
                                .run =
                                    [] {
                                        ++runs;
                                        EIS_LOG_INFO("run");
                                        return takeTwo(keeper);
                                    },
                                .failed = [](int result, int nth) { EXPECT_EQ(result, nth); },
                                .succeeded =
                                    [](int result) {
                                        EXPECT_EQ(result, 0);
                                        EXPECT_TRUE(logWas({"info run"}));
                                    }};
    keeper = nullptr;
    EXPECT_EQ(failEachInTurn(loop), 2);
    EXPECT_EQ(runs, 5);
    keeper = &lost;
    EXPECT_NONFATAL_FAILURE(failEachInTurn(loop), "left behind:\n  malloc block of 1 bytes");
    std::free(lost);
}

TEST(Harness, OnlyTheNthCallFails) {
    const FailNth fail(kFopen | kThreadCreate, 2);
    pthread_t thread{};
    FILE* stream = std::fopen("/dev/null", "rb");
    EXPECT_NE(stream, nullptr);
    EXPECT_FALSE(fail.hit());
    EXPECT_NE(pthread_create(&thread, nullptr, nothing, nullptr), 0);
    EXPECT_TRUE(fail.hit());
    onThread(nothing);
    static_cast<void>(std::fclose(stream));
}

TEST(Harness, ClockIsFakeWhileAsked) {
    {
        const FakeClock clock(5000000, 1999);
        const int64_t start = clockMicroseconds();
        EXPECT_EQ(start, 5000000);
        EXPECT_EQ(elapsedMilliseconds(start, clockMicroseconds()), 1);
    }
    EXPECT_GT(clockMicroseconds(), 1000000000000000);
}

TEST(Harness, PlanesGuardTheirEnds) {
    const Plane<uint8_t> atEnd(10, 4, 16, {Placement::kAtEnd}, true);
    const Plane<int16_t> atStart(5, 3, 8, {Placement::kAtStart, 4});
    EXPECT_EQ(atEnd.size(), 58u);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(atStart.data()) % 4096, 4u);
    fill(atEnd, Content::kRandom, 1);
    fill(atStart, Content::kNatural, 2, -200, 200);
    EXPECT_TRUE(atEnd.paddingIntact());
    EXPECT_TRUE(atStart.paddingIntact());
    EXPECT_DEATH(atEnd.row(3)[10] = 0, "");
    EXPECT_DEATH(atStart.data()[-3] = 0, "");
    atEnd.row(1)[10] ^= 1;
    EXPECT_FALSE(atEnd.paddingIntact());
    atStart.data()[-2] ^= 1;
    EXPECT_FALSE(atStart.paddingIntact());

    const Plane<uint8_t> other(10, 4, 16, {}, true);
    other.copyFrom(atEnd);
    EXPECT_TRUE(samePlanes(atEnd, other));
    other.at(3, 2) ^= 1;
    EXPECT_FALSE(samePlanes(atEnd, other));
    EXPECT_NE(digest(atEnd), digest(other));
}

TEST(Harness, ContentsAreThemselves) {
    for (const Content content : kAllContents) {
        const Plane<uint8_t> plane(64, 48);
        fill(plane, content, 7);
        int lowest = 255;
        int highest = 0;
        int high = 0;
        for (size_t i = 0; i < plane.size(); ++i) {
            lowest = std::min<int>(lowest, plane.data()[i]);
            highest = std::max<int>(highest, plane.data()[i]);
            high += plane.data()[i] == 255;
        }
        const bool flat = content == Content::kLow || content == Content::kHigh;
        EXPECT_EQ(lowest == highest, flat) << nameOf(content);
        EXPECT_EQ(high == 1, content == Content::kSingle) << nameOf(content);
        EXPECT_EQ(high == 64 * 48 / 2, content == Content::kAlternating) << nameOf(content);
    }
    // One value on every machine.
    const Plane<int16_t> plane(33, 17);
    fill(plane, Content::kNatural, 3, -1000, 1000);
    EXPECT_EQ(digest("abc", 3), 0xE71FA2190541574Bu);
    EXPECT_EQ(digest(plane), 2057347516826374183u);
    Random random(5);
    EXPECT_EQ(random.bits(), 7134611160154358618u);
}

TEST(Harness, DeadlineEndsAHang) {
    EXPECT_EXIT(
        {
            const Deadline deadline(1);
            for (;;) pause();
        },
        testing::ExitedWithCode(3), "DeadlineEndsAHang hangs");
}

}  // namespace
}  // namespace eis::test
