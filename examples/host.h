/* The least that a host must do: an address space of 32-bit handles, and three callbacks. Memory is coherent here, so
   the maintainers have nothing to do; where a DSP shares it, they clean and invalidate caches. */
#ifndef EXAMPLES_HOST_H
#define EXAMPLES_HOST_H

#include <stdio.h>
#include <stdlib.h>

#include "acore_api.h"

enum { kHostBuffers = 32 };
static void* hostTable[kHostBuffers]; /* device address: index into this table; 0 stays null */
static int hostUsed = 1;

static inline void* hostConvert(DeviceAddress address) {
    return address < kHostBuffers ? hostTable[address] : NULL;
}

static inline void hostMaintain(void* address) {
    (void)address;
}

/* The device address of memory that exists already. */
static inline DeviceAddress hostShare(void* memory) {
    if (hostUsed == kHostBuffers) abort();
    hostTable[hostUsed] = memory;
    return (DeviceAddress)hostUsed++;
}

/* A buffer of zeros with a device address. */
static inline void* hostAllocate(size_t bytes, DeviceAddress* address) {
    void* memory = calloc(1, bytes);
    if (memory == NULL) abort();
    *address = hostShare(memory);
    return memory;
}

static inline void hostStart(void) {
    setIO2VAConverter(hostConvert);
    setGraphicBufferInvalidater(hostMaintain);
    setGraphicBufferFlusher(hostMaintain);
}

/* A program that has shown what it says returns 0. */
static inline int hostEnd(int shown) {
    puts(shown ? "as expected" : "NOT as expected");
    return shown ? 0 : 1;
}

#endif
