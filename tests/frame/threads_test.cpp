// The fork-and-join helpers.
#include "libCore/core/source/neon/multi_thread.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <string>

#include "tests/frame/trace_recorder.h"
#include "tests/harness/calls.h"
#include "tests/harness/events.h"
#include "tests/harness/watchdog.h"

namespace eis {
namespace {

constexpr char kUnit[] = "libCore/core/source/neon/multi_thread";

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

// Polls; the caller's deadline ends a hang.
template <class Condition>
void waitUntil(Condition condition) {
    while (!condition()) usleep(200);
}

TEST(ForkAndJoin, RunsEachIndexOnce) {
    const test::Deadline deadline(60);
    for (const bool leaveByExit : {false, true}) {
        for (const int count : {0, 1, 4, 33}) {
            Ran ran;
            ran.leaveByExit = leaveByExit;
            test::takeTraces();
            const test::ResourceWatch watch;
            EXPECT_EQ(create_thread_lock(body, &ran, count), 0);
            EXPECT_EQ(ran.indices, (uint64_t{1} << count) - 1);
            EXPECT_EQ(ran.count, count);
            EXPECT_EQ(watch.count(test::kThreadCreate), count);
            EXPECT_TRUE(watch.nothingLeft());

            // Started in a row, then joined in the order of their starts.
            const auto traces = test::takeTraces();
            ASSERT_EQ(traces.size(), 2u * count);
            for (int i = 0; i < count; ++i) {
                EXPECT_TRUE(traces[i].acquired);
                EXPECT_FALSE(traces[count + i].acquired);
                EXPECT_EQ(traces[i].thread, traces[count + i].thread);
                EXPECT_EQ(traces[i].tag, "AP_EIS");
                EXPECT_EQ(traces[i].unit, kUnit);
                EXPECT_EQ(traces[i].signature, "int create_thread_lock(void* (*)(void*), void*, int)");
                EXPECT_EQ(traces[i].kind, 4);
            }
        }
    }
    EXPECT_TRUE(test::eventsWere({}));
}

TEST(ForkAndJoin, NoMemory) {
    Ran ran;
    EXPECT_EQ(create_thread_lock(body, &ran, -1), -1);
    EXPECT_EQ(create_thread_lock(body, &ran, INT32_MIN), -1);
    EXPECT_EQ(create_thread_unlock(body, &ran, -1), -1);
    EXPECT_EQ(ran.count, 0);
    EXPECT_TRUE(test::eventsWere(
        {"error Buffer malloc Failed!", "error Buffer malloc Failed!", "error Buffer malloc Failed!"}));
}

TEST(ForkAndJoin, FailuresJoinWhatStarted) {
    const test::Deadline deadline(60);
    Ran ran;
    const int failing =
        test::failEachInTurn({.calls = test::kThreadCreate | test::kAllocation,
                              .prepare = [&] { ran.indices = ran.count = 0; },
                              .run = [&] { return create_thread_lock(body, &ran, 4); },
                              .failed =
                                  [&](int result, int nth) {
                                      // The records come first, then the four starts.
                                      EXPECT_EQ(result, -1);
                                      EXPECT_TRUE(test::eventsWere(
                                          {nth == 1 ? "error Buffer malloc Failed!" : "error Thread Create Failed!"}));
                                      EXPECT_EQ(ran.count, nth == 1 ? 0 : nth - 2);
                                  },
                              .succeeded =
                                  [&](int result) {
                                      EXPECT_EQ(result, 0);
                                      EXPECT_EQ(ran.indices, 0xFu);
                                      EXPECT_TRUE(test::eventsWere({}));
                                  }});
    EXPECT_EQ(failing, 5);
}

TEST(Fork, RunsOnAlone) {
    const test::Deadline deadline(60);
    for (const bool leaveByExit : {false, true}) {
        // Static: a detached thread is never known to be over.
        static Ran ran;
        ran.leaveByExit = leaveByExit;
        ran.indices = ran.count = 0;
        const test::ResourceWatch watch;
        EXPECT_EQ(create_thread_unlock(body, &ran, 0), 0);
        EXPECT_EQ(create_thread_unlock(body, &ran, 5), 0);
        waitUntil([&] { return ran.count == 5; });
        EXPECT_EQ(ran.indices, 0x1Fu);
        // Each thread frees its record as it ends.
        waitUntil([&] { return static_cast<bool>(watch.nothingLeft()); });
    }
    EXPECT_TRUE(test::eventsWere({}));
}

TEST(Fork, Failures) {
    const test::Deadline deadline(60);
    const struct {
        test::Call call;
        const char* line;
    } cases[] = {{test::kThreadCreate, "error Thread Create Failed!"}, {test::kMalloc, "error Buffer malloc Failed!"}};
    for (const auto& c : cases) {
        for (int nth = 1; nth <= 3; ++nth) {
            static Ran ran;
            ran.indices = ran.count = 0;
            test::clearEvents();
            const test::ResourceWatch watch;
            {
                const test::FailNth fail(c.call, nth);
                EXPECT_EQ(create_thread_unlock(body, &ran, 3), -1);
            }
            waitUntil([&] { return ran.count == nth - 1; });
            waitUntil([&] { return static_cast<bool>(watch.nothingLeft()); });
            EXPECT_EQ(ran.count, nth - 1);
            EXPECT_TRUE(test::eventsWere({c.line}));
        }
    }
}

TEST(ForkAndJoin, ThreadWait) {
    Ran ran;
    ThreadRecord record{{}, 3, &ran};
    ASSERT_EQ(pthread_create(&record.handle, nullptr, body, &record), 0);
    test::takeTraces();
    EXPECT_EQ(thread_wait(record.handle), 0);
    EXPECT_EQ(ran.indices, 8u);
    const auto traces = test::takeTraces();
    ASSERT_EQ(traces.size(), 1u);
    EXPECT_FALSE(traces[0].acquired);
    EXPECT_EQ(traces[0].thread, record.handle);
}

}  // namespace
}  // namespace eis
