// The process-wide slots that a host fills: three callbacks and the allocator hook.
#pragma once

#include <atomic>

#include "include/acore_types.h"

namespace eis {

// Set with release order, so that a setter in another thread is defined; all null at load.
extern std::atomic<IO2VAConverter> g_convert2Addr;
extern std::atomic<BufferMaintainer> g_invalidBuff;
extern std::atomic<BufferMaintainer> g_flushBuff;
extern std::atomic<MemAllocatorTable*> g_memAllocatorMFNR;

// The host installs all three callbacks before the first entry runs, so none is tested for null.
inline void* FunConvert2Addr(DeviceAddress address) {
    return g_convert2Addr.load(std::memory_order_acquire)(address);
}
inline void FunInvalidBuff(void* address) {
    g_invalidBuff.load(std::memory_order_acquire)(address);
}
inline void FunFlushBuff(void* address) {
    g_flushBuff.load(std::memory_order_acquire)(address);
}

// Converts to a pointer to T.
template <class T>
T* convertTo(DeviceAddress address) {
    return static_cast<T*>(FunConvert2Addr(address));
}

// Converts once more and flushes, whatever the conversion gave.
inline void flushDeviceAddress(DeviceAddress address) {
    FunFlushBuff(FunConvert2Addr(address));
}

void setMemAllocatorMFNR(MemAllocatorTable* table);

}  // namespace eis
