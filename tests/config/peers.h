// The sibling library's three functions, defined in this program in its place.
//
// Each call is recorded in the journal as "peer converter", "peer invalidater" or "peer flusher", with " strange" for a
// callback other than the installed one.
#pragma once

#include "tests/harness/events.h"

namespace eis::test {

// What the journal holds when all three are called in order.
Events peerCalls();

}  // namespace eis::test
