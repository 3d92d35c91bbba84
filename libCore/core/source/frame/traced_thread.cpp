#include "libCore/core/source/frame/traced_thread.h"

#include "libCore/core/source/frame/trace.h"

namespace eis {

int startTracedThread(pthread_t* thread, const pthread_attr_t* attributes, ThreadFunction function, void* argument,
                      const TraceSite& site, int line) {
    const int result = pthread_create(thread, attributes, function, argument);
    if (result == 0) traceAcquire(kTraceTag, site.unit, site.signature, line, kTraceThread, *thread);
    return result;
}

int joinTracedThread(pthread_t thread, const TraceSite& site, int line, void** returned) {
    const int result = pthread_join(thread, returned);
    traceRelease(kTraceTag, site.unit, site.signature, line, kTraceThread, thread);
    return result;
}

}  // namespace eis
