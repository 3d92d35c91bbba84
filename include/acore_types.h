/* Types that cross the boundary between a host and libkelvane_eis_ap. */
#ifndef ACORE_TYPES_H
#define ACORE_TYPES_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Outcome of an entry: 0 done, positive a result that the caller can live with, negative a failure of the call. */
typedef int32_t ret_status;

enum {
    retStsOK = 0,
    retStsNotEnoughKeypoints = 3, /* this pair of frames cannot be registered; not an error of the call */
    retStsThreadError = -997,     /* a worker could not be started */
    retStsBadAddress = -998,      /* a device address did not convert, or a parameter was rejected */
    retStsFileError = -999,       /* a file could not be opened or loaded */
    retStsNoMemory = -1000        /* an allocation failed */
};

/* An address in the DSP's view of memory: opaque, valid only through the host's converter. */
typedef uint32_t DeviceAddress;

/* Host callbacks. The converter maps a device address to a pointer, or null when it cannot be mapped. The two
   maintainers get any address inside a buffer: the invalidater discards the CPU's cached view of it before the library
   reads, the flusher writes the CPU's view back after the library has written. Both must take null, and then do
   nothing: the invalidater gets it from the four file entries for a path or a buffer that does not convert; the flusher
   from ivp_fread, ivp_fwrite and CalcFastDn2dControl_AcoreAPI for such a buffer, and from ParseXML_AcoreAPI_EIS and
   Ransac_Regis_AcoreAPI_EIS for an output that converts no more when it is converted again for the flush. From other
   entries neither gets null. */
typedef void* (*IO2VAConverter)(DeviceAddress deviceAddress);
/* An invalidater or a flusher. */
typedef void (*BufferMaintainer)(void* address);

/* A planar YUV 4:2:0 picture as it stands in a parameter block: seven 32-bit words. */
typedef struct ST_PICTURE_DEV {
    int32_t width;          /* luma pixels */
    int32_t height;         /* luma pixels */
    int32_t stride;         /* luma bytes a row; an entry may replace it by a pitch of its own */
    DeviceAddress pData[3]; /* luma, first chroma, second chroma */
    int32_t format;         /* registration accepts only 2 */
} ST_PICTURE_DEV;

/* Bytes from row to row of most planes: those of a row, rounded up to a multiple of 128. */
static inline int32_t eisPitch(int32_t rowBytes) {
    return (int32_t)(((int64_t)rowBytes + 127) & ~(int64_t)127);
}

/* Bytes of a plane of whole rows, none where a number is not positive. What an entry reads and writes of a buffer lies
   within the eisSizeOf... that stands beside its block. */
static inline size_t eisSizeOfPlane(int32_t pitch, int32_t rows) {
    return pitch > 0 && rows > 0 ? (size_t)pitch * (size_t)rows : 0;
}

/* The host's own allocator for large denoise buffers. The tag is always "huefuse_AP", the last argument zero.
   It must be callable from four threads at once and stay valid for the life of the process. */
typedef struct MemAllocatorTable {
    void* (*alloc)(uint32_t size, const char* tag, uintptr_t zero); /* null when there is no memory */
    void (*free)(void* memory, const char* tag, uintptr_t zero);    /* of what alloc gave */
    void* (*lookup)(void* base); /* buffer object of a virtual base address, or null; may be absent (null) */
} MemAllocatorTable;

#ifdef __cplusplus
}
#endif

#ifdef __cplusplus
#include <cstddef>

static_assert(sizeof(ST_PICTURE_DEV) == 28 && offsetof(ST_PICTURE_DEV, width) == 0 &&
              offsetof(ST_PICTURE_DEV, height) == 4 && offsetof(ST_PICTURE_DEV, stride) == 8 &&
              offsetof(ST_PICTURE_DEV, pData) == 12 && offsetof(ST_PICTURE_DEV, format) == 24);
#endif

#endif
