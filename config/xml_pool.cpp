#include "config/xml_pool.h"

#include <algorithm>
#include <utility>

#include "bounded/heap_block.h"
#include "libCore/core/source/frame/memory.h"

namespace eis {

namespace {

#if defined(__has_feature)
#define EIS_HAS_FEATURE(name) __has_feature(name)
#else
#define EIS_HAS_FEATURE(name) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || EIS_HAS_FEATURE(address_sanitizer)
// Each item is a block of its own, so that the sanitizer sees where it ends.
constexpr size_t kLargestBlock = 0;
#else
constexpr size_t kLargestBlock = size_t{32} << 20;
#endif

}  // namespace

XmlPool* XmlPool::create() {
    void* memory = std::malloc(sizeof(XmlPool));
    return memory != nullptr ? new (memory) XmlPool : nullptr;
}

void XmlPool::dropNode() {
    if (--nodes_ > 0) return;
    while (blocks_ != nullptr) std::free(std::exchange(blocks_, blocks_->older));
    std::free(this);
}

void* XmlPool::takeFromNewBlock(size_t bytes) {
    const size_t needed = sizeof(Block) + bytes;
    if (needed >= refused_) return nullptr;
    const bool isOwn = bytes >= kOwnBlock;
    size_t size = isOwn ? needed : std::max(std::min(nextBlock_, kLargestBlock), needed);
    void* memory = std::malloc(size);
    while (memory == nullptr && size > needed) {
        size = std::max(size / 2, needed);
        memory = std::malloc(size);
    }
    if (memory == nullptr) {
        refused_ = needed;
        return nullptr;
    }
    adviseHugePages(memory, size);
    if (!isOwn) nextBlock_ = 2 * size;
    blocks_ = new (memory) Block{blocks_};
    auto* begin = reinterpret_cast<uint8_t*>(blocks_ + 1);
    uint8_t* end = static_cast<uint8_t*>(memory) + size;
    // A large item may leave less room behind it than there is in the block in use.
    if (end - (begin + bytes) > end_ - at_) {
        at_ = begin + bytes;
        end_ = end;
    }
    return begin;
}

void XmlPool::freeBlockOf(void* memory) {
    Block** link = &blocks_;
    while (*link + 1 != memory) link = &(*link)->older;
    std::free(std::exchange(*link, (*link)->older));
}

}  // namespace eis
