#include "libCore/core/source/neon/multi_thread.h"

#include <cstdint>
#include <cstdlib>

#include "bounded/heap_block.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/traced_thread.h"

namespace eis {

namespace {

constexpr char kThreadUnit[] = "libCore/core/source/neon/multi_thread";
constexpr TraceSite kLockSite{kThreadUnit, "int create_thread_lock(void* (*)(void*), void*, int)"};
constexpr TraceSite kUnlockSite{kThreadUnit, "int create_thread_unlock(void* (*)(void*), void*, int)"};
constexpr TraceSite kWaitSite{kThreadUnit, "int thread_wait(pthread_t)"};

using Records = HeapBlock<ThreadRecord[]>;

// Null, with a log line, for a count that is negative or too large.
Records allocateRecords(int count) {
    static_assert(sizeof(ThreadRecord) == 3 * sizeof(void*));
    Records records = heapBlock<ThreadRecord>(count);
    if (!records) EIS_LOG_ERROR("Buffer malloc Failed!");
    return records;
}

// A detached thread owns its record, whose life must not depend on the starter's.
struct DetachedStart {
    ThreadRecord record;
    ThreadFunction function;
};

void* detachedThread(void* start) {
    void* result = nullptr;
    // The function may leave by pthread_exit, past any destructor.
    pthread_cleanup_push(std::free, start);
    result = static_cast<DetachedStart*>(start)->function(&static_cast<DetachedStart*>(start)->record);
    pthread_cleanup_pop(1);
    return result;
}

}  // namespace

int create_thread_lock(void* (*function)(void*), void* argument, int count) {
    if (count == 0) return 0;
    const Records records = allocateRecords(count);
    if (!records) return -1;
    int started = 0;
    for (; started < count; ++started) {
        ThreadRecord& record = records[started];
        record.index = started;
        record.argument = argument;
        if (startTracedThread(&record.handle, nullptr, function, &record, kLockSite) != 0) {
            EIS_LOG_ERROR("Thread Create Failed!");
            break;
        }
    }
    for (int i = 0; i < started; ++i) joinTracedThread(records[i].handle, kLockSite);
    return started < count ? -1 : 0;
}

int create_thread_unlock(void* (*function)(void*), void* argument, int count) {
    if (count < 0) {
        EIS_LOG_ERROR("Buffer malloc Failed!");
        return -1;
    }
    for (int i = 0; i < count; ++i) {
        auto* start = static_cast<DetachedStart*>(std::malloc(sizeof(DetachedStart)));
        if (start == nullptr) {
            EIS_LOG_ERROR("Buffer malloc Failed!");
            return -1;
        }
        *start = {{pthread_t{}, i, argument}, function};
        pthread_t thread{};
        if (startTracedThread(&thread, nullptr, detachedThread, start, kUnlockSite) != 0) {
            EIS_LOG_ERROR("Thread Create Failed!");
            std::free(start);
            return -1;
        }
        pthread_detach(thread);
    }
    return 0;
}

int thread_wait(pthread_t handle) {
    return joinTracedThread(handle, kWaitSite);
}

}  // namespace eis
