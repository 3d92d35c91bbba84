// Threads with their trace records, and a group that joins exactly the ones that started.
#pragma once

#include <pthread.h>

namespace eis {

// Where a thread is started and joined, as the trace hooks show it.
struct TraceSite {
    const char* unit;
    const char* signature;
};

using ThreadFunction = void* (*)(void*);

// Starts a thread and traces it; 0, or the error of pthread_create, and then *thread holds nothing to join.
int startTracedThread(pthread_t* thread, const pthread_attr_t* attributes, ThreadFunction function, void* argument,
                      const TraceSite& site, int line = __builtin_LINE());
// Joins a started thread, then traces its end; the result of pthread_join. The thread's own result goes to *returned,
// unless that is null.
int joinTracedThread(pthread_t thread, const TraceSite& site, int line = __builtin_LINE(), void** returned = nullptr);

// Up to `capacity` threads that are started one by one and joined together. Its trace records carry the lines of the
// calls of start and join.
template <int capacity>
class ThreadGroup {
  public:
    explicit ThreadGroup(const TraceSite& site, int line = __builtin_LINE()) : site_(site), line_(line) {}
    ThreadGroup(const ThreadGroup&) = delete;
    ThreadGroup& operator=(const ThreadGroup&) = delete;
    ~ThreadGroup() { join(line_); }

    [[nodiscard]] bool start(ThreadFunction function, void* argument, int line = __builtin_LINE()) {
        if (startTracedThread(&threads_[count_], nullptr, function, argument, site_, line) != 0) return false;
        ++count_;
        return true;
    }

    // Joins what has started, in order.
    void join(int line = __builtin_LINE()) {
        for (int i = 0; i < count_; ++i) joinTracedThread(threads_[i], site_, line);
        count_ = 0;
    }

  private:
    const TraceSite& site_;
    int line_;
    pthread_t threads_[capacity];
    int count_ = 0;
};

}  // namespace eis
