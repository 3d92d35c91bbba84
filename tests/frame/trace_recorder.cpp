#include "tests/frame/trace_recorder.h"

#include <cstdarg>
#include <mutex>
#include <utility>

#include "libCore/core/source/trace.h"
#include "tests/harness/calls.h"

namespace eis::test {

namespace {

std::mutex g_mutex;
std::vector<TraceRecord> g_traces;

void record(bool acquired, const char* tag, va_list arguments) {
    const OwnWork own;
    TraceRecord trace{acquired, tag, va_arg(arguments, const char*), "", 0, 0, nullptr, 0, {}};
    trace.signature = va_arg(arguments, const char*);
    trace.line = va_arg(arguments, int);
    trace.kind = va_arg(arguments, int);
    if (trace.kind == kTraceMemory) {
        EXPECT_EQ(va_arg(arguments, int), 0);
        trace.memory = va_arg(arguments, void*);
        trace.size = va_arg(arguments, size_t);
    } else {
        trace.thread = va_arg(arguments, pthread_t);
    }
    const std::lock_guard lock(g_mutex);
    g_traces.push_back(std::move(trace));
}

}  // namespace

std::vector<TraceRecord> takeTraces() {
    const std::lock_guard lock(g_mutex);
    return std::exchange(g_traces, {});
}

}  // namespace eis::test

namespace eis {

void traceAcquire(const char* tag, ...) {
    va_list arguments;
    va_start(arguments, tag);
    test::record(true, tag, arguments);
    va_end(arguments);
}

void traceRelease(const char* tag, ...) {
    va_list arguments;
    va_start(arguments, tag);
    test::record(false, tag, arguments);
    va_end(arguments);
}

}  // namespace eis
