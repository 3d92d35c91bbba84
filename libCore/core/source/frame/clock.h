// Durations, from two readings of the wall clock.
#pragma once

#include <sys/time.h>

#include <cstdint>

namespace eis {

// The wall clock in microseconds.
inline int64_t clockMicroseconds() {
    timeval now{};
    gettimeofday(&now, nullptr);
    return int64_t{now.tv_sec} * 1000000 + now.tv_usec;
}

// Whole milliseconds from start to end, truncated, as "%ld" prints them.
inline long elapsedMilliseconds(int64_t start, int64_t end) {
    return static_cast<long>((end - start) / 1000);
}

// Milliseconds with a fraction, of a difference cut to unsigned 32 bits, as "%.1f" prints them.
inline double elapsedMillisecondsFraction(int64_t start, int64_t end) {
    return static_cast<uint32_t>(end - start) * 0.001;
}

}  // namespace eis
