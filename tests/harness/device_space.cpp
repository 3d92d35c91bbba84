#include "tests/harness/device_space.h"

#include <gtest/gtest.h>

#include "include/acore_api.h"
#include "tests/harness/calls.h"
#include "tests/harness/events.h"

namespace eis::test {

namespace {

DeviceSpace* g_space = nullptr;

std::string withOffset(const std::string& name, size_t offset) {
    return offset == 0 ? name : name + "+" + std::to_string(offset);
}

}  // namespace

DeviceSpace::DeviceSpace() : thread_(pthread_self()) {
    EXPECT_EQ(g_space, nullptr);
    g_space = this;
    setIO2VAConverter(convert);
    setGraphicBufferInvalidater(invalidate);
    setGraphicBufferFlusher(flush);
}

DeviceSpace::~DeviceSpace() {
    setIO2VAConverter(nullptr);
    setGraphicBufferInvalidater(nullptr);
    setGraphicBufferFlusher(nullptr);
    g_space = nullptr;
}

DeviceAddress DeviceSpace::add(const std::string& name, const void* memory, size_t bytes) {
    constexpr size_t kGap = 4096;
    const DeviceAddress address = next_;
    next_ += static_cast<DeviceAddress>((bytes + 2 * kGap - 1) / kGap * kGap);
    buffers_.push_back({name, static_cast<uint8_t*>(const_cast<void*>(memory)), bytes, address, false});
    return address;
}

DeviceAddress DeviceSpace::addText(const std::string& name, std::string_view text) {
    auto& copy = texts_.emplace_back(text.begin(), text.end());
    copy.push_back('\0');
    return addRange(name, copy);
}

void DeviceSpace::refuse(const std::string& name) {
    bool known = false;
    for (Buffer& buffer : buffers_) {
        if (buffer.name == name) buffer.refused = known = true;
    }
    EXPECT_TRUE(known) << "no buffer " << name;
}

void DeviceSpace::allow() {
    for (Buffer& buffer : buffers_) buffer.refused = false;
}

void DeviceSpace::record(const char* what, const std::string& where) const {
    EXPECT_TRUE(pthread_equal(thread_, pthread_self())) << what << " from another thread";
    recordCallback(what + where);
}

// Of two buffers that share memory the one that begins at the address gives the name.
std::string DeviceSpace::nameOf(const void* address) const {
    if (address == nullptr) return "null";
    const auto* byte = static_cast<const uint8_t*>(address);
    std::string inside = "?";
    for (const Buffer& buffer : buffers_) {
        if (byte == buffer.memory) return buffer.name;
        if (byte > buffer.memory && byte < buffer.memory + buffer.bytes) {
            inside = withOffset(buffer.name, byte - buffer.memory);
        }
    }
    return inside;
}

void* DeviceSpace::convert(DeviceAddress address) {
    const OwnWork own;
    for (const Buffer& buffer : g_space->buffers_) {
        const size_t offset = DeviceAddress{address - buffer.address};
        if (offset != 0 && offset >= buffer.bytes) continue;
        g_space->record("convert ", withOffset(buffer.name, offset));
        return buffer.refused ? nullptr : buffer.memory + offset;
    }
    g_space->record("convert ", "?");
    return nullptr;
}

void DeviceSpace::invalidate(void* address) {
    const OwnWork own;
    g_space->record("invalidate ", g_space->nameOf(address));
}

void DeviceSpace::flush(void* address) {
    const OwnWork own;
    g_space->record("flush ", g_space->nameOf(address));
}

}  // namespace eis::test
