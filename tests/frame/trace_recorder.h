// The trace hooks of this test program: they stand in for the library's empty ones and keep what they are given.
#pragma once

#include <pthread.h>

#include <string>
#include <vector>

namespace eis::test {

struct TraceRecord {
    bool acquired;
    std::string tag;
    std::string unit;
    std::string signature;
    int line;
    int kind;
    const void* memory;  // of a memory record, else null
    size_t size;
    pthread_t thread;  // of a thread record, else zero
};

// The records since the last call.
std::vector<TraceRecord> takeTraces();

}  // namespace eis::test
