#include "tests/harness/device_space.h"

#include <gtest/gtest.h>

#include "tests/harness/calls.h"
#include "tests/harness/events.h"

namespace eis::test {

namespace {

DeviceSpace* g_space = nullptr;

}  // namespace

// In place of the arena's own callbacks, which end with it.
DeviceSpace::DeviceSpace() {
    g_space = this;
    setIO2VAConverter(convert);
    setGraphicBufferInvalidater(invalidate);
    setGraphicBufferFlusher(flush);
}

DeviceSpace::~DeviceSpace() {
    g_space = nullptr;
}

DeviceAddress DeviceSpace::addText(const std::string& name, std::string_view text) {
    const DeviceAddress address = arena_.allocate(text.size() + 1, name);
    *std::copy(text.begin(), text.end(), arena_.cpuSide(address)) = '\0';
    return address;
}

void DeviceSpace::record(const char* what, const Place& place, const char* nobody) const {
    EXPECT_TRUE(pthread_equal(thread_, pthread_self())) << what << " from another thread";
    std::string event = what + (place.buffer != nullptr ? place.buffer->field : nobody);
    if (place.offset != 0) event.append("+").append(std::to_string(place.offset));
    recordCallback(event);
}

void* DeviceSpace::convert(DeviceAddress address) {
    const OwnWork own;
    const Place place = g_space->arena_.find(address);
    g_space->record("convert ", place, "?");
    const bool isNull = place.buffer == nullptr || g_space->refused_.contains(place.buffer->field);
    return isNull ? nullptr : place.buffer->cpu + place.offset;
}

void DeviceSpace::invalidate(void* address) {
    const OwnWork own;
    g_space->record("invalidate ", g_space->arena_.findCpu(address), address == nullptr ? "null" : "?");
}

void DeviceSpace::flush(void* address) {
    const OwnWork own;
    g_space->record("flush ", g_space->arena_.findCpu(address), address == nullptr ? "null" : "?");
}

}  // namespace eis::test
