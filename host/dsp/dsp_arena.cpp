#include "host/dsp/dsp_arena.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <iterator>
#include <new>
#include <ostream>
#include <stdexcept>
#include <utility>

namespace eishost {

namespace {

// High enough that no offset or size passes for an address.
constexpr std::uint64_t kFirstAddress = 0x8c340000u;
constexpr std::uint64_t kAddressEnd = std::uint64_t{1} << 32;
constexpr std::uint64_t kPage = 4096;
constexpr std::uint8_t kFreshDsp = 0x2b;
constexpr std::uint8_t kFreshCpu = 0xd5;

DspArena* installed = nullptr;

// Memory that is both sides of its buffer needs no copy.
void copySide(std::uint8_t* to, const std::uint8_t* from, std::size_t bytes) {
    if (to != from) std::memmove(to, from, bytes);
}

}  // namespace

DspArena::DspArena(std::ostream* trace) : next_(kFirstAddress), trace_(trace) {
    if (installed != nullptr) throw std::logic_error("a DSP arena is installed already");
    installed = this;
    setIO2VAConverter(&DspArena::convert);
    setGraphicBufferInvalidater(&DspArena::invalidate);
    setGraphicBufferFlusher(&DspArena::flush);
}

DspArena::~DspArena() {
    setIO2VAConverter(nullptr);
    setGraphicBufferInvalidater(nullptr);
    setGraphicBufferFlusher(nullptr);
    installed = nullptr;
}

DspArena::Buffer DspArena::freshBuffer(std::size_t bytes, const std::string& field) {
    Buffer buffer;
    buffer.bytes = std::max<std::size_t>(bytes, 1);
    buffer.field = field;
    for (auto& side : buffer.owned) side.reset(new std::uint8_t[buffer.bytes]);
    buffer.dsp = buffer.owned[0].get();
    buffer.cpu = buffer.owned[1].get();
    std::memset(buffer.dsp, kFreshDsp, buffer.bytes);
    std::memset(buffer.cpu, kFreshCpu, buffer.bytes);
    return buffer;
}

DeviceAddress DspArena::allocate(std::size_t bytes, const std::string& field) {
    return add(freshBuffer(bytes, field));
}

DeviceAddress DspArena::share(void* memory, std::size_t bytes, const std::string& field) {
    auto* const bothSides = static_cast<std::uint8_t*>(memory);
    return add({std::max<std::size_t>(bytes, 1), field, bothSides, bothSides, {}, false});
}

void DspArena::allocateAt(DeviceAddress address, std::size_t bytes, const std::string& field) {
    buffers_.emplace(address, freshBuffer(bytes, field));
}

void DspArena::shareAt(DeviceAddress address, void* memory, std::size_t bytes, const std::string& field) {
    auto* const bothSides = static_cast<std::uint8_t*>(memory);
    buffers_.emplace(address, Buffer{bytes, field, bothSides, bothSides, {}, false});
}

void DspArena::markScratch(DeviceAddress address) {
    buffers_.at(address).scratch = true;
}

void DspArena::watch(std::vector<Touch>* touches) {
    const std::scoped_lock lock(touchMutex_);
    touches_ = touches;
}

void DspArena::keepTouch(Touch::Kind kind, const Place& place, DeviceAddress asked) {
    const std::scoped_lock lock(touchMutex_);
    if (touches_ == nullptr) return;
    const bool known = place.buffer != nullptr;
    touches_->push_back({kind, known ? static_cast<DeviceAddress>(place.base + place.offset) : asked, known});
}

DeviceAddress DspArena::add(Buffer buffer) {
    // A page at least stays free behind each buffer, so that an address past its end belongs to nobody.
    const std::uint64_t pages = (buffer.bytes + kPage - 1) / kPage + 1;
    if (pages > (kAddressEnd - next_) / kPage) throw std::bad_alloc();
    const auto address = static_cast<DeviceAddress>(next_);
    buffers_.emplace(address, std::move(buffer));
    next_ += pages * kPage;
    return address;
}

DspArena::Place DspArena::find(DeviceAddress address) const {
    auto after = buffers_.upper_bound(address);
    if (after == buffers_.begin()) return {};
    const auto& [base, buffer] = *std::prev(after);
    const std::size_t offset = address - base;
    return offset < buffer.bytes ? Place{&buffer, base, offset} : Place{};
}

DspArena::Place DspArena::findCpu(const void* address) const {
    const auto wanted = reinterpret_cast<std::uintptr_t>(address);
    Place inside;
    for (const auto& [base, buffer] : buffers_) {
        const auto first = reinterpret_cast<std::uintptr_t>(buffer.cpu);
        if (wanted == first) return {&buffer, base, 0};
        if (wanted > first && wanted - first < buffer.bytes) inside = {&buffer, base, wanted - first};
    }
    return inside;
}

std::uint8_t* DspArena::dspSide(DeviceAddress address) const {
    const Place place = find(address);
    return place.buffer != nullptr ? place.buffer->dsp + place.offset : nullptr;
}

std::uint8_t* DspArena::cpuSide(DeviceAddress address) const {
    const Place place = find(address);
    return place.buffer != nullptr ? place.buffer->cpu + place.offset : nullptr;
}

void DspArena::syncToCpu(DeviceAddress address) {
    const Place place = find(address);
    traceLine("host syncs to CPU", place, address);
    if (place.buffer != nullptr) copySide(place.buffer->cpu, place.buffer->dsp, place.buffer->bytes);
}

void DspArena::syncToDsp(DeviceAddress address) {
    const Place place = find(address);
    traceLine("host syncs to DSP", place, address);
    if (place.buffer != nullptr) copySide(place.buffer->dsp, place.buffer->cpu, place.buffer->bytes);
}

void* DspArena::convert(DeviceAddress address) {
    const Place place = installed->find(address);
    installed->traceLine("convert", place, address);
    installed->keepTouch(Touch::kConvert, place, address);
    return place.buffer != nullptr ? place.buffer->cpu + place.offset : nullptr;
}

void DspArena::invalidate(void* address) {
    const Place place = installed->findCpu(address);
    installed->traceLine("invalidate", place, reinterpret_cast<std::uintptr_t>(address));
    installed->keepTouch(Touch::kInvalidate, place, 0);
    if (place.buffer != nullptr) copySide(place.buffer->cpu, place.buffer->dsp, place.buffer->bytes);
}

void DspArena::flush(void* address) {
    const Place place = installed->findCpu(address);
    installed->traceLine("flush", place, reinterpret_cast<std::uintptr_t>(address));
    installed->keepTouch(Touch::kFlush, place, 0);
    if (place.buffer != nullptr) copySide(place.buffer->dsp, place.buffer->cpu, place.buffer->bytes);
}

void DspArena::traceLine(const char* verb, const Place& place, std::uintptr_t asked) const {
    if (trace_ == nullptr) return;
    char address[32];
    if (place.buffer == nullptr) {
        std::snprintf(address, sizeof address, "0x%08" PRIxPTR, asked);
        *trace_ << "trace: " << verb << " unknown address " << address << '\n';
        return;
    }
    std::snprintf(address, sizeof address, "0x%08" PRIx32, static_cast<DeviceAddress>(place.base + place.offset));
    *trace_ << "trace: " << verb << ' ' << place.buffer->field;
    if (place.offset != 0) *trace_ << " + " << place.offset;
    *trace_ << " (" << address << ")\n";
}

}  // namespace eishost
