// Blocks of the C heap, owned.
//
// The product takes no memory from operator new. Where there is none, even the non-throwing form throws and catches
// inside the C++ runtime, and a thread's first exception takes memory itself: in a C host, which got that runtime with
// the library at run time, the loader then ends the process.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <type_traits>

namespace eis {

struct HeapFree {
    void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using HeapBlock = std::unique_ptr<T, HeapFree>;

// An array, not cleared; null when there is no memory.
template <class T>
HeapBlock<T[]> heapBlock(size_t count) {
    static_assert(std::is_trivial_v<T>);
    return HeapBlock<T[]>(static_cast<T*>(std::malloc(count * sizeof(T))));
}
template <class T>
HeapBlock<T[]> zeroedHeapBlock(size_t count) {
    static_assert(std::is_trivial_v<T>);
    return HeapBlock<T[]>(static_cast<T*>(std::calloc(count, sizeof(T))));
}

}  // namespace eis
