#include "tests/harness/entry_faults.h"

#include "tests/harness/calls.h"

namespace eis::test {

void eachAddressNull(DeviceSpace& space, const std::vector<NullAddress>& rows, const std::function<int()>& run,
                     const std::function<bool()>& untouched) {
    for (const NullAddress& row : rows) {
        SCOPED_TRACE(row.name);
        space.refuse(row.name);
        clearEvents();
        const ResourceWatch watch;
        EXPECT_EQ(run(), row.status);
        EXPECT_TRUE(watch.nothingLeft());
        EXPECT_TRUE(eventsWere(row.events));
        EXPECT_TRUE(untouched());
        space.allow();
    }
}

}  // namespace eis::test
