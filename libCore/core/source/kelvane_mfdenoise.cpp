// The slots, their setters and the memory wrappers.
#include <sys/mman.h>

#include <cstdlib>

#include "include/acore_api.h"
#include "libCore/core/source/frame/export.h"
#include "libCore/core/source/frame/memory.h"
#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/trace.h"

namespace eis {

namespace {

constexpr char kUnit[] = "libCore/core/source/kelvane_mfdenoise";
constexpr char kClientTag[] = "huefuse_AP";
constexpr char kMallocPoolSignature[] = "void* iMalloc_Pool(size_t, const char*, int)";
constexpr char kFreePoolSignature[] = "void iFree_Pool(void*, const char*, int)";

void traceMemory(void (*trace)(const char*, ...), const char* signature, int line, void* memory, size_t size) {
    trace(kTraceTag, kUnit, signature, line, kTraceMemory, 0, memory, size);
}

}  // namespace

std::atomic<IO2VAConverter> g_convert2Addr{nullptr};
std::atomic<BufferMaintainer> g_invalidBuff{nullptr};
std::atomic<BufferMaintainer> g_flushBuff{nullptr};
std::atomic<MemAllocatorTable*> g_memAllocatorMFNR{nullptr};

void setMemAllocatorMFNR(MemAllocatorTable* table) {
    g_memAllocatorMFNR.store(table, std::memory_order_release);
}

void adviseHugePages([[maybe_unused]] void* memory, [[maybe_unused]] size_t size) {
#ifdef MADV_HUGEPAGE
    constexpr uintptr_t kHugePage = uintptr_t{2} << 20;
    const auto address = reinterpret_cast<uintptr_t>(memory);
    const uintptr_t padding = -address & (kHugePage - 1);
    if (memory == nullptr || size < padding + kHugePage) return;
    madvise(static_cast<uint8_t*>(memory) + padding, (size - padding) & ~(kHugePage - 1), MADV_HUGEPAGE);
#endif
}

void* iMalloc(size_t size, const char* /*name*/, int /*line*/) {
    void* memory = std::malloc(size);
    adviseHugePages(memory, size);
    traceMemory(traceAcquire, "void* iMalloc(size_t, const char*, int)", __LINE__, memory, size);
    return memory;
}

void iFree(void* memory, const char* /*name*/, int /*line*/) {
    traceMemory(traceRelease, "void iFree(void*, const char*, int)", __LINE__, memory, 0);
    std::free(memory);
}

void* iMalloc_Pool(size_t size, const char* name, int line) {
    const MemAllocatorTable* table = g_memAllocatorMFNR.load(std::memory_order_acquire);
    if (table == nullptr) {
        traceMemory(traceAcquire, kMallocPoolSignature, __LINE__, nullptr, size);
        return iMalloc(size, name, line);
    }
    // The table takes 32 bits; cutting a larger size would turn a failing one into a short block.
    void* memory = size > UINT32_MAX ? nullptr : table->alloc(static_cast<uint32_t>(size), kClientTag, 0);
    traceMemory(traceAcquire, kMallocPoolSignature, __LINE__, memory, size);
    return memory;
}

void iFree_Pool(void* memory, const char* name, int line) {
    const MemAllocatorTable* table = g_memAllocatorMFNR.load(std::memory_order_acquire);
    if (table == nullptr) {
        iFree(memory, name, line);
        return;
    }
    traceMemory(traceRelease, kFreePoolSignature, __LINE__, memory, 0);
    table->free(memory, kClientTag, 0);
}

}  // namespace eis

EIS_EXPORT void setIO2VAConverter(IO2VAConverter converter) {
    eis::g_convert2Addr.store(converter, std::memory_order_release);
}

EIS_EXPORT void setGraphicBufferInvalidater(BufferMaintainer invalidater) {
    eis::g_invalidBuff.store(invalidater, std::memory_order_release);
}

EIS_EXPORT void setGraphicBufferFlusher(BufferMaintainer flusher) {
    eis::g_flushBuff.store(flusher, std::memory_order_release);
}
