// The four bands of a picture on four threads.
#pragma once

#include <cstdint>

#include "include/acore_types.h"
#include "libCore/core/source/frame/traced_thread.h"

namespace eis {

inline constexpr int kBands = 4;

// Runs the body on the record of each band, on a thread of its own, and joins the threads that started. Before that,
// standIn gets the bands that did not start, a bit each, the lowest for the first one: 0 when all run, which is what
// the result says. The threads are traced as the caller's.
template <class Record, class StandIn>
bool runBands(Record (&records)[kBands], ThreadFunction body, const TraceSite& site, StandIn standIn,
              int line = __builtin_LINE()) {
    ThreadGroup<kBands> group(site);
    uint32_t missing = 0;
    for (int k = 0; k < kBands; ++k) {
        if (!group.start(body, &records[k], line)) missing |= 1u << k;
    }
    standIn(missing);
    group.join(line);
    return missing == 0;
}

// A status as a thread's result.
inline void* threadResult(ret_status status) {
    return reinterpret_cast<void*>(static_cast<intptr_t>(status));
}

}  // namespace eis
