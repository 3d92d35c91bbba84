// Device memory as a host shares it with the DSP: 32-bit addresses, the library's three callbacks, and real coherence.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "include/acore_api.h"

namespace eishost {

// Every buffer has a DSP side and a CPU side. The library reads and writes the CPU side. Its invalidator copies DSP to
// CPU, its flusher CPU to DSP, each for the whole buffer, and nothing else moves a byte between the two, except the
// buffers that an entry leaves to its caller: those go through `syncToCpu` and `syncToDsp`. Fresh buffers hold a
// different pattern on either side, so a forgotten invalidate or flush shows in the result.
//
// The callbacks have no context argument, so one arena is installed at a time: the one that lives.
class DspArena {
  public:
    // `trace`, when not null, gets a line for each conversion, invalidate, flush and sync, with the buffer's name.
    explicit DspArena(std::ostream* trace = nullptr);
    ~DspArena();
    DspArena(const DspArena&) = delete;
    DspArena& operator=(const DspArena&) = delete;

    // A buffer and the name of the block field that leads to it. Throws std::bad_alloc when memory or the 32-bit
    // address space is used up. Addresses up to the last byte of the buffer convert; what lies between buffers does
    // not.
    DeviceAddress allocate(std::size_t bytes, const std::string& field);
    // A buffer of the caller's memory, which is both of its sides.
    DeviceAddress share(void* memory, std::size_t bytes, const std::string& field);
    // The same two at an address that the caller picks, where no other buffer is.
    void allocateAt(DeviceAddress address, std::size_t bytes, const std::string& field);
    void shareAt(DeviceAddress address, void* memory, std::size_t bytes, const std::string& field);
    // Says that what an entry leaves in a buffer is of no use to anybody.
    void markScratch(DeviceAddress address);

    // Views of a buffer from `address` on, null for an address outside every buffer.
    std::uint8_t* dspSide(DeviceAddress address) const;
    std::uint8_t* cpuSide(DeviceAddress address) const;

    // Coherence by the caller's hand, for what an entry neither invalidates nor flushes.
    void syncToCpu(DeviceAddress address);
    void syncToDsp(DeviceAddress address);

    // Records in device memory, by value, on the DSP side.
    template <typename T>
    DeviceAddress put(const T& value, const std::string& field) {
        const DeviceAddress address = allocate(sizeof(T), field);
        std::memcpy(dspSide(address), &value, sizeof(T));
        return address;
    }
    template <typename T>
    T get(DeviceAddress address) const {
        T value;
        std::memcpy(&value, dspSide(address), sizeof(T));
        return value;
    }

    struct Buffer {
        std::size_t bytes = 0;
        std::string field;
        std::uint8_t* dsp = nullptr;
        std::uint8_t* cpu = nullptr;
        std::unique_ptr<std::uint8_t[]> owned[2];
        bool scratch = false;
    };
    struct Place {
        const Buffer* buffer = nullptr;  // null for an address outside every buffer
        DeviceAddress base = 0;
        std::size_t offset = 0;
    };
    Place find(DeviceAddress address) const;
    // Of buffers that share memory the one that begins at the address.
    Place findCpu(const void* address) const;
    const std::map<DeviceAddress, Buffer>& buffers() const { return buffers_; }

    // A callback as it came: a maintainer's address in the view of the DSP, 0 for one that is in no buffer.
    struct Touch {
        enum Kind : std::uint32_t { kConvert = 1, kInvalidate, kFlush };
        Kind kind;
        DeviceAddress address;
        bool known;  // the address is in a buffer
        bool operator==(const Touch&) const = default;
    };
    // Adds each callback to `touches` from now on; null ends that.
    void watch(std::vector<Touch>* touches);

  private:
    static void* convert(DeviceAddress address);
    static void invalidate(void* address);
    static void flush(void* address);

    static Buffer freshBuffer(std::size_t bytes, const std::string& field);
    DeviceAddress add(Buffer buffer);
    void keepTouch(Touch::Kind kind, const Place& place, DeviceAddress asked);
    void traceLine(const char* verb, const Place& place, std::uintptr_t asked) const;

    std::map<DeviceAddress, Buffer> buffers_;
    std::uint64_t next_;
    std::ostream* trace_;
    std::mutex touchMutex_;  // worker threads convert addresses, too
    std::vector<Touch>* touches_ = nullptr;
};

}  // namespace eishost
