// Device addresses that do not convert, for every entry that takes a block.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/harness/device_space.h"
#include "tests/harness/events.h"

namespace eis::test {

// A buffer whose address gives null, and what the call then shows.
struct NullAddress {
    std::string name;
    int status;
    Events events;
};

// Makes each buffer's address give null in turn, and in between none. The call ends as the row says, keeps nothing and
// changes no output.
void eachAddressNull(DeviceSpace& space, const std::vector<NullAddress>& rows, const std::function<int()>& run,
                     const std::function<bool()>& untouched);

}  // namespace eis::test
