// Plays a recorded call again, and tells what came out otherwise.
#pragma once

#include <string>
#include <vector>

#include "host/dsp/call_record.h"
#include "host/dsp/call_streams.h"
#include "host/dsp/entries.h"

namespace eishost {

// The entry of a record. HostError: kExitUnreadable for one that is unknown, kExitUnsuitable for one that reads or
// writes files by the names in its block.
const Entry& playableEntry(const CallRecord& call);

// The same call with what it left this time. HostError as above, and kExitUnreadable for a record that cannot be played
// as it stands.
CallRecord playAgain(const CallRecord& call, const CallStreams& streams);

// One line for each difference: status, block, buffers with the first byte, callbacks, log. Times, pointers and dates
// in the log do not count, nor the order of what threads do.
std::vector<std::string> differences(const CallRecord& recorded, const CallRecord& played);

}  // namespace eishost
