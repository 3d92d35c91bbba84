// The pool of parked workers. It reports on standard output.
#include "libCore/core/source/neon/MultiThread_new.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>

#include "tests/harness/calls.h"
#include "tests/harness/events.h"
#include "tests/harness/traces.h"
#include "tests/harness/watchdog.h"

namespace eis {
namespace {

constexpr char kBadCount[] = "Bad Thread number , should be [1, 8] !\n";
constexpr char kCreateFailed[] = "[MultiThread_Init] Create Thread Failed!";
constexpr char kAttributeFailed[] = "Failed to init thread attribute.";

// What the action writes to standard output.
template <class Action>
std::string outputOf(Action action) {
    {
        const test::OwnWork own;
        testing::internal::CaptureStdout();
    }
    action();
    const test::OwnWork own;
    return testing::internal::GetCapturedStdout();
}

// One slot's job: it counts its runs, and with a gate waits in each until the gate is open.
struct Job {
    std::atomic<int> entered{0};
    std::atomic<int> left{0};
    std::atomic<int> index{-1};
    std::atomic<bool> gate{true};
    std::atomic<pthread_t> thread{};
};

void runJob(void* userData, int index) {
    auto* job = static_cast<Job*>(userData);
    job->index = index;
    job->thread = pthread_self();
    ++job->entered;
    while (!job->gate) usleep(200);
    ++job->left;
}

void waitFor(const std::atomic<int>& counter, int value) {
    const test::Watchdog watchdog("a job that was started does not begin");
    while (counter < value) usleep(200);
}

void sync(int slot) {
    const test::Watchdog watchdog("MultiThread_sync");
    MultiThread_sync(slot);
}

void runOnce(int slot, Job* job) {
    EXPECT_EQ(MultiThread_set(slot, runJob, job), 0);
    sync(slot);
}

void destroyPool() {
    const test::Watchdog watchdog("MultiThread_destory");
    MultiThread_destory();
}

int startPool(int count) {
    return test::watched("MultiThread_Init", [=] { return MultiThread_Init(count); });
}

void waitForSlot(int slot) {
    const test::Watchdog watchdog("MultiThread_wait");
    MultiThread_wait(slot);
}

class Pool : public testing::Test {
  protected:
    ~Pool() override {
        destroyPool();
        // It never speaks through the platform log.
        EXPECT_TRUE(test::eventsWere({}));
    }
};

TEST_F(Pool, RunsJobsOnEveryWorker) {
    Job jobs[kMultiThreadMax];
    ASSERT_EQ(startPool(kMultiThreadMax), 0);
    for (int round = 1; round <= 2; ++round) {
        for (int i = 0; i < kMultiThreadMax; ++i) {
            waitForSlot(i);
            MultiThread_setJob(i, runJob, &jobs[i]);
            MultiThread_start(i);
        }
        for (int i = 0; i < kMultiThreadMax; ++i) {
            test::watched("MultiThread_clear", [=] { MultiThread_clear(i); });
            EXPECT_EQ(jobs[i].left, round);
            EXPECT_EQ(jobs[i].index, i);
        }
    }
}

TEST_F(Pool, BusySlotIsRefusedAtOnce) {
    Job first;
    Job second;
    ASSERT_EQ(startPool(2), 0);
    first.gate = false;
    EXPECT_EQ(MultiThread_set(1, runJob, &first), 0);
    EXPECT_EQ(MultiThread_set(1, runJob, &second), -1);
    MultiThread_start(1);
    waitFor(first.entered, 1);
    EXPECT_EQ(MultiThread_set(1, runJob, &second), -1);
    runOnce(0, &second);
    first.gate = true;
    waitForSlot(1);
    EXPECT_EQ(first.left, 1);
    MultiThread_setJob(1, runJob, &second);
    sync(1);
    EXPECT_EQ(second.left, 2);
}

TEST_F(Pool, NewPoolRetiresTheOldAfterItsJobs) {
    const test::ResourceWatch watch;
    test::takeTraces();
    Job job;
    for (const int count : {4, 8, 2, 0, 3}) {
        ASSERT_EQ(startPool(count), 0);
        for (int i = 0; i < count; ++i) runOnce(i, &job);
    }
    job.gate = false;
    EXPECT_EQ(MultiThread_set(0, runJob, &job), 0);
    MultiThread_start(0);
    waitFor(job.entered, 18);
    std::thread opener([&] {
        usleep(20000);
        job.gate = true;
    });
    destroyPool();
    EXPECT_EQ(job.left, 18);
    opener.join();
    destroyPool();
    EXPECT_TRUE(watch.nothingLeft());
    const auto traces = test::takeTraces();
    EXPECT_EQ(traces.size(), 2u * 17);
    EXPECT_EQ(traces[0].text, "+AP_EIS libCore/core/source/neon/MultiThread_new int MultiThread_Init(int)");
    EXPECT_EQ(traces[4].text, "-AP_EIS libCore/core/source/neon/MultiThread_new int MultiThread_Init(int)");
    EXPECT_EQ(traces.back().text, "-AP_EIS libCore/core/source/neon/MultiThread_new void MultiThread_destory()");
}

TEST_F(Pool, FailedStartsCanBeRepeated) {
    std::string output;
    const auto start = [&] {
        int result = 0;
        output = outputOf([&] { result = startPool(3); });
        destroyPool();
        return result;
    };
    const auto failed = [&](int result, int nth) {
        EXPECT_EQ(result, -1);
        EXPECT_EQ(output, nth == 1 ? kAttributeFailed : kCreateFailed);
    };
    EXPECT_EQ(test::failEachInTurn(
                  {.calls = test::kAttrInit | test::kThreadCreate | test::kAllocation, .run = start, .failed = failed}),
              4);
    EXPECT_EQ(output, "");
}

// A count out of range leaves a live pool as it is; a failed attribute destruction leaves one that works.
TEST_F(Pool, RefusedStartsLeaveAWorkingPool) {
    Job job;
    ASSERT_EQ(startPool(1), 0);
    waitForSlot(0);
    // The worker speaks when the done semaphore is up already: only its end says that it has.
    EXPECT_EQ(outputOf([] {
                  sync(0);
                  destroyPool();
              }),
              "Thread 0 BAD Parameter, Please invoke MultiThread_set to set thread callback\n");
    ASSERT_EQ(startPool(1), 0);
    for (const int count : {9, -1, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(outputOf([&] { EXPECT_EQ(startPool(count), -1); }), kBadCount);
    }
    runOnce(0, &job);
    {
        const test::FailNth fail(test::kAttrDestroy, 1);
        EXPECT_EQ(outputOf([] { EXPECT_EQ(startPool(2), -1); }), kCreateFailed);
    }
    runOnce(1, &job);
    EXPECT_EQ(job.left, 2);
}

// A signal that ends a wait early must not start a job.
TEST_F(Pool, SignalsDoNotWakeAWorker) {
    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = [](int) {};
    ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
    Job job;
    ASSERT_EQ(startPool(1), 0);
    runOnce(0, &job);
    for (int i = 0; i < 20; ++i) {
        pthread_kill(job.thread, SIGUSR1);
        usleep(500);
    }
    EXPECT_EQ(job.entered, 1);
    runOnce(0, &job);  // a signal that is still on its way must not meet the default action
    EXPECT_EQ(job.entered, 2);
    sigaction(SIGUSR1, &before, nullptr);
}

}  // namespace
}  // namespace eis
