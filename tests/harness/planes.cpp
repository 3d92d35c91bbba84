#include "tests/harness/planes.h"

#include <sys/mman.h>
#include <unistd.h>

#include <new>

namespace eis::test {

namespace {

uint8_t canaryAt(const uint8_t* address) {
    const auto position = reinterpret_cast<uintptr_t>(address);
    return static_cast<uint8_t>(0xC5 ^ (position * 37) ^ (position >> 8));
}

const uint8_t* firstSpoiled(const uint8_t* begin, const uint8_t* end) {
    for (; begin < end; ++begin) {
        if (*begin != canaryAt(begin)) return begin;
    }
    return nullptr;
}

}  // namespace

GuardedMemory::GuardedMemory(size_t bytes, Placement placement) : bytes_(bytes) {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t inner = (bytes + placement.shift + page - 1) / page * page;
    regionBytes_ = inner + 2 * page;
    void* region = mmap(nullptr, regionBytes_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (region == MAP_FAILED) throw std::bad_alloc();
    region_ = static_cast<uint8_t*>(region);
    if (inner != 0 && mprotect(region_ + page, inner, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
    data_ = placement.side == Placement::kAtEnd ? region_ + page + inner - placement.shift - bytes
                                                : region_ + page + placement.shift;
    for (uint8_t* byte = region_ + page; byte < region_ + page + inner; ++byte) *byte = canaryAt(byte);
}

GuardedMemory::~GuardedMemory() {
    if (region_ != nullptr) munmap(region_, regionBytes_);
}

testing::AssertionResult GuardedMemory::surroundingsIntact() const {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const uint8_t* spoiled = firstSpoiled(region_ + page, data_);
    if (spoiled != nullptr)
        return testing::AssertionFailure() << data_ - spoiled << " bytes before the block was written";
    spoiled = firstSpoiled(data_ + bytes_, region_ + regionBytes_ - page);
    if (spoiled != nullptr) {
        return testing::AssertionFailure() << spoiled - data_ - bytes_ << " bytes past the block's end was written";
    }
    return testing::AssertionSuccess();
}

bool GuardedMemory::isCanary(size_t offset, size_t bytes) const {
    return firstSpoiled(data_ + offset, data_ + offset + bytes) == nullptr;
}

}  // namespace eis::test
