// Device memory that the tests see into: the caller's buffers under 32-bit addresses, and the host's three callbacks.
//
// Each callback is recorded in the journal of events.h as "convert NAME", "invalidate NAME" or "flush NAME", with
// "+OFFSET" for an address inside a buffer, "null" for a null pointer and "?" for one that no buffer holds. A callback
// from a thread other than the space's fails the test.
#pragma once

#include <pthread.h>

#include <set>
#include <string>
#include <string_view>

#include "host/dsp/dsp_arena.h"

namespace eis::test {

// Installs the callbacks while it lives. One at a time.
class DeviceSpace {
  public:
    DeviceSpace();
    DeviceSpace(const DeviceSpace&) = delete;
    DeviceSpace& operator=(const DeviceSpace&) = delete;
    ~DeviceSpace();

    // Places memory of the caller's in the space. Addresses are never zero and have the top bit set.
    DeviceAddress add(const std::string& name, const void* memory, size_t bytes) {
        return arena_.share(const_cast<void*>(memory), bytes, name);
    }
    template <class T>
    DeviceAddress addObject(const std::string& name, const T& object) {
        return add(name, &object, sizeof object);
    }
    template <class Range>
    DeviceAddress addRange(const std::string& name, const Range& range) {
        return add(name, range.data(), range.size() * sizeof(*range.data()));
    }
    // Places a null-terminated copy.
    DeviceAddress addText(const std::string& name, std::string_view text);

    // Makes the addresses of a buffer convert to null, or convert again. An address of no buffer converts to null.
    void refuse(const std::string& name) { refused_.insert(name); }
    void allow() { refused_.clear(); }

  private:
    using Place = eishost::DspArena::Place;

    static void* convert(DeviceAddress address);
    static void invalidate(void* address);
    static void flush(void* address);
    void record(const char* what, const Place& place, const char* nobody) const;

    eishost::DspArena arena_;
    std::set<std::string> refused_;
    pthread_t thread_ = pthread_self();
};

}  // namespace eis::test
