#include "host/dsp/entry_call.h"

#include <chrono>

#include "host/dsp/call_recorder.h"
#include "host/dsp/library_log.h"

namespace eishost {

EntryOutcome callEntry(DspArena& arena, const Entry& entry, void* block, std::ostream* log) {
    RecordedCall record(arena, entry, block);
    startLibraryLog(log);
    const auto start = std::chrono::steady_clock::now();
    const ret_status status = entry.callAt(entry.linked, block);
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    record.finish(status, time.count(), libraryLog());
    return {status, time.count()};
}

}  // namespace eishost
