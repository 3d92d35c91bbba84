#include "tests/harness/calls.h"

#include <pthread.h>
#include <semaphore.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <sstream>
#include <type_traits>
#include <utility>

#include "tests/harness/events.h"
#include "tests/harness/files.h"

extern "C" int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*function)(void*),
                                     void* argument);

namespace eis::test {

namespace {

enum class Kind { kMallocBlock, kNewBlock, kThread, kStream, kSemaphore, kMutex, kAttribute };
constexpr const char* kKindNames[] = {"malloc block",   "new block",  "unjoined thread",      "open stream",
                                      "live semaphore", "live mutex", "live thread attribute"};

thread_local int t_ownWork = 0;
thread_local bool t_inTable = false;

// Never destroyed: threads and static objects may outlive main.
struct State {
    std::mutex mutex;
    std::map<std::pair<Kind, uintptr_t>, size_t> held;  // size of each resource
};
State& state() {
    static State* const instance = new State;
    return *instance;
}

// Access to the table, which itself allocates and frees.
class TableLock {
  public:
    TableLock() { t_inTable = true; }
    TableLock(const TableLock&) = delete;
    TableLock& operator=(const TableLock&) = delete;
    ~TableLock() { t_inTable = false; }

  private:
    const OwnWork own_;
    const std::lock_guard<std::mutex> lock_{state().mutex};
};

std::atomic<bool> g_watching{false};
std::atomic<size_t> g_heldCount{0};
std::array<std::atomic<int>, 32> g_counts;
std::atomic<uint32_t> g_failing{0};
std::atomic<int> g_untilFailure{0};
std::atomic<int> g_failuresInARow{0};
std::atomic<int64_t> g_clock{0};
std::atomic<int64_t> g_clockStep{0};
std::atomic<bool> g_clockIsFake{false};
std::atomic<uint32_t> g_jitter{0};
std::atomic<uint32_t> g_jitterState{1};

bool isWatched() {
    return t_ownWork == 0 && g_watching.load(std::memory_order_relaxed);
}

template <class Key>
uintptr_t keyOf(Key key) {
    if constexpr (std::is_pointer_v<Key>) {
        return reinterpret_cast<uintptr_t>(key);
    } else {
        return static_cast<uintptr_t>(key);
    }
}

void holdLocked(Kind kind, uintptr_t key, size_t size) {
    state().held[{kind, key}] = size;
    g_heldCount = state().held.size();
}

template <class Key>
void hold(Kind kind, Key key, size_t size = 0) {
    if (!isWatched() || keyOf(key) == 0) return;
    const TableLock lock;
    holdLocked(kind, keyOf(key), size);
}

template <class Key>
void giveBack(Kind kind, Key key) {
    if (t_inTable || g_heldCount == 0) return;
    const TableLock lock;
    state().held.erase({kind, keyOf(key)});
    g_heldCount = state().held.size();
}

// Counts the call; true when it is to fail.
bool isMadeToFail(Call call) {
    if (t_ownWork != 0) return false;
    if (g_watching.load(std::memory_order_relaxed)) ++g_counts[std::countr_zero(static_cast<uint32_t>(call))];
    if ((g_failing.load(std::memory_order_relaxed) & call) == 0) return false;
    const int left = --g_untilFailure;
    return left <= 0 && left > -g_failuresInARow;
}

}  // namespace

OwnWork::OwnWork() {
    ++t_ownWork;
}
OwnWork::~OwnWork() {
    --t_ownWork;
}

ResourceWatch::ResourceWatch() {
    const TableLock lock;
    state().held.clear();
    g_heldCount = 0;
    for (auto& count : g_counts) count = 0;
    g_watching = true;
}

ResourceWatch::~ResourceWatch() {
    g_watching = false;
}

testing::AssertionResult ResourceWatch::nothingLeft() const {
    const TableLock lock;
    if (state().held.empty()) return testing::AssertionSuccess();
    std::ostringstream left;
    for (const auto& [resource, size] : state().held) {
        left << "  " << kKindNames[static_cast<int>(resource.first)];
        if (size != 0) left << " of " << size << " bytes";
        left << '\n';
    }
    return testing::AssertionFailure() << "left behind:\n" << left.str();
}

int ResourceWatch::count(uint32_t calls) const {
    int sum = 0;
    for (int bit = 0; bit < 32; ++bit) {
        if ((calls >> bit & 1) != 0) sum += g_counts[bit];
    }
    return sum;
}

FailNth::FailNth(uint32_t calls, int nth, int count) {
    g_untilFailure = nth;
    g_failuresInARow = count;
    g_failing = calls;
}
FailNth::~FailNth() {
    g_failing = 0;
}
bool FailNth::hit() const {
    return g_untilFailure <= 0;
}

FakeClock::FakeClock(int64_t first, int64_t step) {
    g_clock = first;
    g_clockStep = step;
    g_clockIsFake = true;
}
FakeClock::~FakeClock() {
    g_clockIsFake = false;
}

JitteredThreads::JitteredThreads(uint32_t microseconds) {
    g_jitter = microseconds;
}
JitteredThreads::~JitteredThreads() {
    g_jitter = 0;
}

// A thread's function behind its wait.
struct Delayed {
    void* (*function)(void*);
    void* argument;
    useconds_t delay;

    static void* run(void* delayed) {
        Delayed self{};
        {
            const OwnWork own;
            self = *std::unique_ptr<Delayed>(static_cast<Delayed*>(delayed));
        }
        usleep(self.delay);
        return self.function(self.argument);
    }
};

// Starts a thread, late where starts are jittered.
int startThread(pthread_t* thread, const pthread_attr_t* attributes, void* (*function)(void*), void* argument) {
    const uint32_t jitter = g_jitter;
    if (jitter == 0) return __real_pthread_create(thread, attributes, function, argument);
    const OwnWork own;
    const uint32_t state = g_jitterState += 0x9E3779B9;  // a Weyl sequence
    std::unique_ptr<Delayed> delayed(new Delayed{function, argument, (state >> 8) % (jitter + 1)});
    const int result = __real_pthread_create(thread, attributes, Delayed::run, delayed.get());
    if (result == 0) (void)delayed.release();
    return result;
}

int failEachInTurn(const FaultLoop& loop) {
    constexpr int kLimit = 10000;
    for (int nth = 1; nth < kLimit; ++nth) {
        const testing::ScopedTrace trace(__FILE__, __LINE__, "call made to fail: " + std::to_string(nth));
        for (const bool faulted : {true, false}) {
            loop.prepare();
            clearEvents();
            const ResourceWatch watch;
            bool hit = false;
            int result = 0;
            {
                const FailNth fail(faulted ? loop.calls : 0, nth, loop.inARow);
                result = loop.run();
                hit = faulted && fail.hit();
            }
            EXPECT_TRUE(watch.nothingLeft());
            const OwnWork own;
            if (hit) {
                loop.failed(result, nth);
            } else {
                loop.succeeded(result);
            }
            if (faulted && !hit) return nth - 1;
        }
        if (testing::Test::HasFatalFailure()) return nth;
    }
    ADD_FAILURE() << "no run without a fault";
    return kLimit;
}

}  // namespace eis::test

using eis::test::giveBack;
using eis::test::hold;
using eis::test::isMadeToFail;
using eis::test::Kind;

extern "C" {

void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void __real_free(void* memory);
FILE* __real_fopen(const char* path, const char* mode);
size_t __real_fread(void* buffer, size_t size, size_t count, FILE* stream);
int __real_gettimeofday(timeval* now, void* zone);

void* __wrap_malloc(size_t size) {
    // What the C library refuses by itself, checkers of memory would report.
    if (isMadeToFail(eis::test::kMalloc) || size > PTRDIFF_MAX) {
        errno = ENOMEM;
        return nullptr;
    }
    void* memory = __real_malloc(size);
    hold(Kind::kMallocBlock, memory, size);
    return memory;
}

void* __wrap_calloc(size_t count, size_t size) {
    if (isMadeToFail(eis::test::kMalloc)) {
        errno = ENOMEM;
        return nullptr;
    }
    void* memory = __real_calloc(count, size);
    hold(Kind::kMallocBlock, memory, count * size);
    return memory;
}

void __wrap_free(void* memory) {
    giveBack(Kind::kMallocBlock, memory);
    __real_free(memory);
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*function)(void*),
                          void* argument) {
    if (isMadeToFail(eis::test::kThreadCreate)) return EAGAIN;
    if (!eis::test::isWatched()) return eis::test::startThread(thread, attributes, function, argument);
    // The lock keeps a thread that ends or detaches at once from doing so before it is known.
    const eis::test::TableLock lock;
    const int result = eis::test::startThread(thread, attributes, function, argument);
    if (result == 0) eis::test::holdLocked(Kind::kThread, *thread, 0);
    return result;
}

// Stands in for a function that takes a resource or gives one back: after the first step the rest is the real one's.
#define EIS_TEST_STAND_IN(name, parameters, arguments, ...) \
    int __real_##name parameters;                           \
    int __wrap_##name parameters {                          \
        __VA_ARGS__;                                        \
        return __real_##name arguments;                     \
    }

// Before the join: afterwards the handle may belong to a new thread.
EIS_TEST_STAND_IN(pthread_join, (pthread_t thread, void** result), (thread, result), giveBack(Kind::kThread, thread))
EIS_TEST_STAND_IN(pthread_detach, (pthread_t thread), (thread), giveBack(Kind::kThread, thread))
EIS_TEST_STAND_IN(pthread_mutex_init, (pthread_mutex_t * mutex, const pthread_mutexattr_t* attributes),
                  (mutex, attributes), if (isMadeToFail(eis::test::kMutexInit)) return EAGAIN;
                  hold(Kind::kMutex, mutex))
EIS_TEST_STAND_IN(pthread_mutex_destroy, (pthread_mutex_t * mutex), (mutex), giveBack(Kind::kMutex, mutex))
EIS_TEST_STAND_IN(pthread_attr_init, (pthread_attr_t * attributes), (attributes),
                  if (isMadeToFail(eis::test::kAttrInit)) return ENOMEM;
                  hold(Kind::kAttribute, attributes))
EIS_TEST_STAND_IN(sem_init, (sem_t * semaphore, int shared, unsigned value), (semaphore, shared, value),
                  hold(Kind::kSemaphore, semaphore))
EIS_TEST_STAND_IN(sem_destroy, (sem_t * semaphore), (semaphore), giveBack(Kind::kSemaphore, semaphore))
EIS_TEST_STAND_IN(fclose, (FILE * stream), (stream), giveBack(Kind::kStream, stream))

int __real_pthread_attr_destroy(pthread_attr_t* attributes);
int __wrap_pthread_attr_destroy(pthread_attr_t* attributes) {
    giveBack(Kind::kAttribute, attributes);
    const int result = __real_pthread_attr_destroy(attributes);
    return isMadeToFail(eis::test::kAttrDestroy) ? EINVAL : result;
}

FILE* __wrap_fopen(const char* path, const char* mode) {
    if (isMadeToFail(eis::test::kFopen)) {
        errno = EMFILE;
        return nullptr;
    }
    FILE* stream = nullptr;
    {
        const eis::test::OwnWork own;
        stream = __real_fopen(eis::test::redirectedPath(path).c_str(), mode);
    }
    hold(Kind::kStream, stream);
    return stream;
}

size_t __wrap_fread(void* buffer, size_t size, size_t count, FILE* stream) {
    return isMadeToFail(eis::test::kFread) ? 0 : __real_fread(buffer, size, count, stream);
}

int __wrap_gettimeofday(timeval* now, void* zone) {
    using namespace eis::test;
    if (!g_clockIsFake) return __real_gettimeofday(now, zone);
    const int64_t reading = g_clock.fetch_add(g_clockStep);
    now->tv_sec = reading / 1000000;
    now->tv_usec = reading % 1000000;
    return 0;
}

}  // extern "C"

namespace {

void* newBlock(size_t size, size_t alignment) noexcept {
    if (isMadeToFail(eis::test::kNew)) return nullptr;
    void* memory = nullptr;
    if (alignment <= __STDCPP_DEFAULT_NEW_ALIGNMENT__) {
        memory = __real_malloc(size);
    } else if (posix_memalign(&memory, alignment, size) != 0) {
        return nullptr;
    }
    hold(Kind::kNewBlock, memory, size);
    return memory;
}

void* newBlockOrThrow(size_t size, size_t alignment = 1) {
    void* memory = newBlock(size, alignment);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void deleteBlock(void* memory) noexcept {
    giveBack(Kind::kNewBlock, memory);
    __real_free(memory);
}

}  // namespace

// Every form is replaced: a sanitizer brings its own set, which must not be mixed with these.
#define EIS_TEST_NEW(op)                                                                         \
    void* operator op(size_t size) {                                                             \
        return newBlockOrThrow(size);                                                            \
    }                                                                                            \
    void* operator op(size_t size, const std::nothrow_t&) noexcept {                             \
        return newBlock(size, 1);                                                                \
    }                                                                                            \
    void* operator op(size_t size, std::align_val_t alignment) {                                 \
        return newBlockOrThrow(size, static_cast<size_t>(alignment));                            \
    }                                                                                            \
    void* operator op(size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept { \
        return newBlock(size, static_cast<size_t>(alignment));                                   \
    }
#define EIS_TEST_DELETE(op)                                                            \
    void operator op(void* memory) noexcept {                                          \
        deleteBlock(memory);                                                           \
    }                                                                                  \
    void operator op(void* memory, size_t) noexcept {                                  \
        deleteBlock(memory);                                                           \
    }                                                                                  \
    void operator op(void* memory, const std::nothrow_t&) noexcept {                   \
        deleteBlock(memory);                                                           \
    }                                                                                  \
    void operator op(void* memory, std::align_val_t) noexcept {                        \
        deleteBlock(memory);                                                           \
    }                                                                                  \
    void operator op(void* memory, size_t, std::align_val_t) noexcept {                \
        deleteBlock(memory);                                                           \
    }                                                                                  \
    void operator op(void* memory, std::align_val_t, const std::nothrow_t&) noexcept { \
        deleteBlock(memory);                                                           \
    }

EIS_TEST_NEW(new)
EIS_TEST_NEW(new[])
EIS_TEST_DELETE(delete)
EIS_TEST_DELETE(delete[])
