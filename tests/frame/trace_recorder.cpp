#include "tests/frame/trace_recorder.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstdarg>
#include <mutex>
#include <utility>

#include "libCore/core/source/frame/trace.h"
#include "tests/harness/calls.h"

namespace eis::test {

namespace {

std::mutex g_mutex;
std::vector<TraceRecord> g_traces;

void record(const char* sign, const char* tag, va_list arguments) {
    const OwnWork own;
    TraceRecord trace{std::string(sign) + tag, 0, 0};
    for (int i = 0; i < 2; ++i) trace.text.append(" ").append(va_arg(arguments, const char*));
    EXPECT_GT(va_arg(arguments, int), 0) << "the line";
    if (va_arg(arguments, int) == kTraceMemory) {
        EXPECT_EQ(va_arg(arguments, int), 0);
        trace.what = reinterpret_cast<uintptr_t>(va_arg(arguments, void*));
        trace.size = va_arg(arguments, size_t);
    } else {
        trace.what = va_arg(arguments, pthread_t);
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
    test::record("+", tag, arguments);
    va_end(arguments);
}

void traceRelease(const char* tag, ...) {
    va_list arguments;
    va_start(arguments, tag);
    test::record("-", tag, arguments);
    va_end(arguments);
}

}  // namespace eis
