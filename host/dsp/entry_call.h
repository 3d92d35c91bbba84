// The one place where the tools call an entry that takes a block.
#pragma once

#include <iosfwd>
#include <type_traits>

#include "host/dsp/dsp_arena.h"
#include "host/dsp/entries.h"

namespace eishost {

struct EntryOutcome {
    ret_status status = retStsOK;
    double milliseconds = 0;  // of the entry alone
};

// Starts a fresh log, which `log` gets as it comes when not null, and calls the entry. A recording that was started
// keeps the call.
EntryOutcome callEntry(DspArena& arena, const Entry& entry, void* block, std::ostream* log);
template <class Block>
EntryOutcome callEntry(DspArena& arena, ret_status (*entry)(Block*), std::type_identity_t<Block>* block,
                       std::ostream* log) {
    return callEntry(arena, entryAt(reinterpret_cast<void*>(entry)), const_cast<std::remove_const_t<Block>*>(block),
                     log);
}

}  // namespace eishost
