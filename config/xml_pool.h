// The memory of one tree.
//
// A tree is a great many small things that go together. They are cut one behind the other from blocks that grow with
// the tree, and all of them go with its last node.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

namespace eis {

class XmlPool {
  public:
    // Null when there is no memory.
    static XmlPool* create();

    // Not cleared; null when there is no memory. What the heap refused once is not asked for again: millions of items
    // may follow. The alignment is at most that of a pointer.
    void* take(size_t bytes, size_t alignment) {
        const size_t padding = -reinterpret_cast<uintptr_t>(at_) & (alignment - 1);
        if (padding + bytes > static_cast<size_t>(end_ - at_) || bytes >= kOwnBlock) return takeFromNewBlock(bytes);
        at_ += padding + bytes;
        return at_ - bytes;
    }

    // Frees what was taken, if it is large.
    void giveBack(void* memory, size_t bytes) {
        if (bytes >= kOwnBlock) freeBlockOf(memory);
    }

    // A new T, for which nobody calls the destructor.
    template <class T>
    T* make() {
        static_assert(alignof(T) <= alignof(Block));
        void* memory = take(sizeof(T), alignof(T));
        return memory != nullptr ? new (memory) T() : nullptr;
    }

    // Of the nodes that live in the pool: the last one that is dropped takes it along.
    void addNode() { ++nodes_; }
    void dropNode();

  private:
    // What stands at the head of each block.
    struct Block {
        Block* older;
    };

    void* takeFromNewBlock(size_t bytes);
    void freeBlockOf(void* memory);

    static constexpr size_t kFirstBlock = size_t{8} << 10;
    static constexpr size_t kOwnBlock = size_t{256} << 10;  // items from this size on have a block of their own

    Block* blocks_ = nullptr;
    uint8_t* at_ = nullptr;  // the free part of the block in use
    uint8_t* end_ = nullptr;
    size_t nextBlock_ = kFirstBlock;
    size_t refused_ = SIZE_MAX;
    size_t nodes_ = 0;
};

}  // namespace eis
