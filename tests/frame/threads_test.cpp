// The fork-and-join helpers.
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <string>

#include "libCore/core/source/frame/band_threads.h"
#include "libCore/core/source/neon/multi_thread.h"
#include "tests/harness/calls.h"
#include "tests/harness/events.h"
#include "tests/harness/traces.h"
#include "tests/harness/watchdog.h"

namespace eis {
namespace {

struct Ran {
    std::atomic<uint64_t> indices{0};  // one bit each
    std::atomic<int> count{0};
    bool leaveByExit = false;
};

void* body(void* argument) {
    auto* record = static_cast<ThreadRecord*>(argument);
    auto* ran = static_cast<Ran*>(record->argument);
    const bool leaveByExit = ran->leaveByExit;
    ran->indices |= uint64_t{1} << record->index;
    ++ran->count;
    if (leaveByExit) pthread_exit(nullptr);
    return nullptr;
}

int runThreads(Ran* ran, int count) {
    return test::watched("create_thread_lock", [=] { return create_thread_lock(body, ran, count); });
}

TEST(ForkAndJoin, RunsEachIndexOnce) {
    const std::string signature =
        "AP_EIS libCore/core/source/neon/multi_thread int create_thread_lock(void* (*)(void*), void*, int)";
    for (const bool leaveByExit : {false, true}) {
        for (const int count : {0, 1, 4, 33}) {
            Ran ran;
            ran.leaveByExit = leaveByExit;
            test::takeTraces();
            const test::ResourceWatch watch;
            EXPECT_EQ(runThreads(&ran, count), 0);
            EXPECT_EQ(ran.indices, (uint64_t{1} << count) - 1);
            EXPECT_EQ(ran.count, count);
            EXPECT_EQ(watch.count(test::kThreadCreate), count);
            EXPECT_TRUE(watch.nothingLeft());

            // Started in a row, then joined in the order of their starts.
            const auto traces = test::takeTraces();
            ASSERT_EQ(traces.size(), 2u * count);
            for (int i = 0; i < 2 * count; ++i) {
                EXPECT_EQ(traces[i].text, (i < count ? "+" : "-") + signature);
                EXPECT_EQ(traces[i].what, traces[i % count].what);
            }
        }
    }
    EXPECT_TRUE(test::eventsWere({}));
}

TEST(ForkAndJoin, FailuresJoinWhatStarted) {
    Ran ran;
    EXPECT_EQ(runThreads(&ran, -1), -1);
    EXPECT_EQ(create_thread_unlock(body, &ran, INT32_MIN), -1);
    EXPECT_EQ(ran.count, 0);
    EXPECT_TRUE(test::eventsWere({"error Buffer malloc Failed!", "error Buffer malloc Failed!"}));

    // The records come first, then the four starts.
    const auto failed = [&](int result, int nth) {
        EXPECT_EQ(result, -1);
        EXPECT_TRUE(test::eventsWere({nth == 1 ? "error Buffer malloc Failed!" : "error Thread Create Failed!"}));
        EXPECT_EQ(ran.count, nth == 1 ? 0 : nth - 2);
    };
    const auto succeeded = [&](int result) {
        EXPECT_EQ(result, 0);
        EXPECT_EQ(ran.indices, 0xFu);
    };
    EXPECT_EQ(test::failEachInTurn({.calls = test::kThreadCreate | test::kAllocation,
                                    .prepare = [&] { ran.indices = ran.count = 0; },
                                    .run = [&] { return runThreads(&ran, 4); },
                                    .failed = failed,
                                    .succeeded = succeeded}),
              5);
}

// Each thread frees its record as it ends. The nth of three is made to fail in its start or its record; 0 is none.
TEST(Fork, RunsOnAlone) {
    for (const uint32_t call : {uint32_t{test::kThreadCreate}, uint32_t{test::kMalloc}}) {
        for (int nth = 0; nth <= 3; ++nth) {
            // Static: a detached thread is never known to be over.
            static Ran ran;
            ran.leaveByExit = nth == 0;
            ran.indices = ran.count = 0;
            test::clearEvents();
            const test::ResourceWatch watch;
            {
                const test::FailNth fail(nth > 0 ? call : 0, nth);
                EXPECT_EQ(create_thread_unlock(body, &ran, 3), nth > 0 ? -1 : 0);
            }
            const int started = nth > 0 ? nth - 1 : 3;
            const test::Watchdog watchdog("threads that nobody joins do not end");
            while (ran.count < started || !watch.nothingLeft()) usleep(200);
            EXPECT_EQ(ran.indices, (1u << started) - 1);
            const std::string line =
                call == test::kMalloc ? "error Buffer malloc Failed!" : "error Thread Create Failed!";
            EXPECT_TRUE(test::eventsWere(nth > 0 ? test::Events{line} : test::Events{}));
        }
    }
}

// Bands are traced with their caller's line, and those that did not start are told before the others are joined.
TEST(ForkAndJoin, FourBands) {
    Ran ran;
    ThreadRecord records[kBands] = {{{}, 0, &ran}, {{}, 1, &ran}, {{}, 2, &ran}, {{}, 3, &ran}};
    constexpr TraceSite kSite{"unit", "signature"};
    const test::FailNth fail(test::kThreadCreate, 2, 2);
    uint32_t missing = 0;
    test::takeTraces();
    const test::Watchdog watchdog("runBands, then thread_wait");
    EXPECT_FALSE(runBands(records, body, kSite, [&](uint32_t bands) { missing = bands; }));
    const int line = __LINE__ - 1;
    EXPECT_EQ(missing, 0x6u);
    EXPECT_EQ(ran.indices, 0x9u);
    const auto traces = test::takeTraces();
    ASSERT_EQ(traces.size(), 4u);
    for (const test::TraceRecord& trace : traces) EXPECT_EQ(trace.line, line);
    EXPECT_EQ(traces[0].what, traces[2].what);

    ThreadRecord record{{}, 3, &ran};
    ASSERT_EQ(pthread_create(&record.handle, nullptr, body, &record), 0);
    EXPECT_EQ(thread_wait(record.handle), 0);
    EXPECT_EQ(test::takeTraces().back().what, record.handle);
}

}  // namespace
}  // namespace eis
