// Threads whose bodies need no other one run on the caller's: a sanitizer takes longer to start one than most runs
// last. To be included once in a target; it stands for the library's own unit.
#pragma once

#include <csetjmp>
#include <cstring>

#include "fuzz/check.h"
#include "libCore/core/source/frame/traced_thread.h"

namespace eis {

inline std::jmp_buf* leaveThread = nullptr;  // of the body that runs on the caller's thread

}  // namespace eis

// How some bodies end; none has anything to destroy then.
extern "C" void pthread_exit(void*) {
    FUZZ_CHECK(eis::leaveThread != nullptr);
    std::longjmp(*eis::leaveThread, 1);
}

namespace eis {

int startTracedThread(pthread_t* thread, const pthread_attr_t* attributes, ThreadFunction function, void* argument,
                      const TraceSite& site, int) {
    // The bands of a picture wait for each other.
    if (std::strstr(site.unit, "MultiDenoise") != nullptr)
        return pthread_create(thread, attributes, function, argument);
    *thread = pthread_self();
    std::jmp_buf end;
    FUZZ_CHECK(leaveThread == nullptr);
    leaveThread = &end;
    if (setjmp(end) == 0) function(argument);
    leaveThread = nullptr;
    return 0;
}

int joinTracedThread(pthread_t thread, const TraceSite&, int, void** returned) {
    FUZZ_CHECK(returned == nullptr);
    return pthread_equal(thread, pthread_self()) != 0 ? 0 : pthread_join(thread, nullptr);
}

}  // namespace eis
