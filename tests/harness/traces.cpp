#include "tests/harness/traces.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cstdarg>
#include <mutex>
#include <utility>

#include "libCore/core/source/frame/trace.h"
#include "tests/harness/calls.h"

namespace eis::test {

namespace {

std::atomic<bool> g_recording{false};
std::mutex g_tracesMutex;
std::vector<TraceRecord> g_traces;

void record(const char* sign, const char* tag, va_list arguments) {
    if (!g_recording) return;
    const OwnWork own;
    TraceRecord trace{std::string(sign) + tag, 0};
    for (int i = 0; i < 2; ++i) trace.text.append(" ").append(va_arg(arguments, const char*));
    trace.line = va_arg(arguments, int);
    EXPECT_GT(trace.line, 0);
    if (va_arg(arguments, int) == kTraceMemory) {
        EXPECT_EQ(va_arg(arguments, int), 0);
        trace.what = reinterpret_cast<uintptr_t>(va_arg(arguments, void*));
        trace.size = va_arg(arguments, size_t);
    } else {
        trace.what = va_arg(arguments, pthread_t);
    }
    const std::lock_guard lock(g_tracesMutex);
    g_traces.push_back(std::move(trace));
}

}  // namespace

std::vector<TraceRecord> takeTraces() {
    const std::lock_guard lock(g_tracesMutex);
    g_recording = true;
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
