// The trace hooks of the test programs: they stand in for the library's empty ones and keep what they are given, from
// the first look at it on.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace eis::test {

struct TraceRecord {
    std::string text;  // "+TAG UNIT SIGNATURE" when acquired, "-TAG ..." when released
    uint64_t what;     // the address of a memory block, or the thread
    size_t size = 0;   // of a memory block
    int line = 0;
};

// The records since the last call.
std::vector<TraceRecord> takeTraces();

}  // namespace eis::test
