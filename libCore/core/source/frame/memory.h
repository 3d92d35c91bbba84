// Scratch memory. Every block of the library comes from these wrappers, with the caller's name and source line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace eis {

// From the process heap; null when there is none. Not cleared.
void* iMalloc(size_t size, const char* name, int line);
void iFree(void* memory, const char* name, int line);

// For large denoise buffers: from the host's allocator table when one is installed, else as iMalloc. A block goes back
// through iFree_Pool, while the same table is installed.
void* iMalloc_Pool(size_t size, const char* name, int line);
void iFree_Pool(void* memory, const char* name, int line);

// A fresh page costs more than what is done with its bytes: large blocks are spread over huge pages where the system
// has them. Its refusal changes nothing, and a null block is none.
void adviseHugePages(void* memory, size_t size);

// Owns one block of a wrapper pair. A negative byte count asks for a size that cannot be had.
template <class T, void* (*acquire)(size_t, const char*, int), void (*release)(void*, const char*, int)>
class ScratchBlock {
  public:
    ScratchBlock() = default;
    ScratchBlock(int64_t bytes, const char* name, int line = __builtin_LINE())
        : memory_(static_cast<T*>(acquire(static_cast<size_t>(bytes), name, line))), name_(name), line_(line) {}
    ScratchBlock(ScratchBlock&& other) noexcept
        : memory_(std::exchange(other.memory_, nullptr)), name_(other.name_), line_(other.line_) {}
    ScratchBlock& operator=(ScratchBlock&&) = delete;
    ~ScratchBlock() { reset(); }

    // Frees the block now, where the order against a log line matters.
    void reset() {
        if (memory_ != nullptr) release(std::exchange(memory_, nullptr), name_, line_);
    }

    T* get() const { return memory_; }
    explicit operator bool() const { return memory_ != nullptr; }

  private:
    T* memory_ = nullptr;
    const char* name_ = nullptr;
    int line_ = 0;
};

template <class T>
using Scratch = ScratchBlock<T, iMalloc, iFree>;
template <class T>
using PoolScratch = ScratchBlock<T, iMalloc_Pool, iFree_Pool>;

}  // namespace eis
