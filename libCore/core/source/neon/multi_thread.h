// Fork and join: one function on a number of threads.
#pragma once

#include <pthread.h>

namespace eis {

// What a thread function receives.
struct ThreadRecord {
    pthread_t handle;
    int index;       // 0-based
    void* argument;  // the caller's
};

// Starts count threads on function and joins them all. 0, or -1 (with a log line) when there is no memory or a start
// fails; threads that had started are joined then too. A count of 0 does nothing and gives 0.
int create_thread_lock(void* (*function)(void*), void* argument, int count);

// Starts count threads on function and does not wait: they run detached. 0, or -1 with a log line.
int create_thread_unlock(void* (*function)(void*), void* argument, int count);

// Joins one thread; the result of pthread_join.
int thread_wait(pthread_t handle);

}  // namespace eis
