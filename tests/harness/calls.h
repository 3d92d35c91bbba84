// The system calls that a test can watch, count and make fail. Calls from the product's and the tests' own objects are
// seen, on every thread; those from inside the C library or a sanitizer are not.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>

namespace eis::test {

enum Call : uint32_t {
    kMalloc = 1 << 0,  // and calloc
    kNew = 1 << 1,     // every form of operator new
    kAllocation = kMalloc | kNew,
    kThreadCreate = 1 << 2,
    kMutexInit = 1 << 3,
    kAttrInit = 1 << 5,     // pthread_attr_init
    kAttrDestroy = 1 << 6,  // pthread_attr_destroy; the attribute is destroyed all the same
    kFopen = 1 << 7,
    kFread = 1 << 8,  // delivers nothing
};

// While one lives, what the calling thread does is neither counted nor made to fail: the harness's own work.
class OwnWork {
  public:
    OwnWork();
    OwnWork(const OwnWork&) = delete;
    OwnWork& operator=(const OwnWork&) = delete;
    ~OwnWork();
};

// Watches resources from its construction on: memory blocks, threads, streams, semaphores, mutexes, attributes. One at
// a time.
class ResourceWatch {
  public:
    ResourceWatch();
    ResourceWatch(const ResourceWatch&) = delete;
    ResourceWatch& operator=(const ResourceWatch&) = delete;
    ~ResourceWatch();

    // Whether all that was taken was given back: freed, closed, destroyed; threads joined or detached.
    testing::AssertionResult nothingLeft() const;
    // How often calls of these kinds were made.
    int count(uint32_t calls) const;
};

// Makes the nth (from 1) call of the given kinds fail, and with a count as many in a row. One at a time.
class FailNth {
  public:
    FailNth(uint32_t calls, int nth, int count = 1);
    FailNth(const FailNth&) = delete;
    FailNth& operator=(const FailNth&) = delete;
    ~FailNth();

    bool hit() const;
};

// While one lives, each thread that starts waits first, for 0 to `microseconds` in a sequence of its own.
class JitteredThreads {
  public:
    explicit JitteredThreads(uint32_t microseconds);
    JitteredThreads(const JitteredThreads&) = delete;
    JitteredThreads& operator=(const JitteredThreads&) = delete;
    ~JitteredThreads();
};

// Readings of the clock: the first is `first` microseconds, each later one `step` more.
class FakeClock {
  public:
    FakeClock(int64_t first, int64_t step);
    FakeClock(const FakeClock&) = delete;
    FakeClock& operator=(const FakeClock&) = delete;
    ~FakeClock();
};

// Makes the 1st, 2nd, ... call of the given kinds fail, or those from there on, until a run meets none. After each
// failing run the same call must be good again. No run may keep a resource. The journal is cleared before each run.
struct FaultLoop {
    uint32_t calls;
    std::function<void()> prepare = [] {};            // puts buffers and files in order before each run
    std::function<int()> run;                         // the call under test and nothing else
    std::function<void(int result, int nth)> failed;  // checks a run whose nth call failed
    std::function<void(int result)> succeeded = [](int result) { EXPECT_EQ(result, 0); };  // of a run without a fault
    int inARow = 1;
};
// How many calls were made to fail.
int failEachInTurn(const FaultLoop& loop);

}  // namespace eis::test
