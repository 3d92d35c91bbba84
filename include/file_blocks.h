/* Parameter blocks of the four file entries. Paths are null-terminated texts. */
#ifndef FILE_BLOCKS_H
#define FILE_BLOCKS_H

#include "acore_types.h"

/* ivp_fread, ivp_fwrite: five 32-bit words. */
typedef struct ST_FILE_BLOCK {
    DeviceAddress path;     /* a null-terminated text */
    DeviceAddress buffer;   /* where the bytes go, or come from */
    uint32_t elementSize;   /* bytes */
    uint32_t elementCount;  /* of that size */
    int32_t offsetOrAppend; /* reading: byte offset to start at; writing: non-zero appends */
} ST_FILE_BLOCK;

/* ivp_fread_align, ivp_fwrite_align: seven 32-bit words. Rows are tight in the file and pitched in the buffer. */
typedef struct ST_FILE_ALIGN_BLOCK {
    DeviceAddress path;     /* a null-terminated text */
    DeviceAddress buffer;   /* where the bytes go, or come from */
    uint32_t reserved;      /* not read */
    uint32_t rowBytes;      /* bytes of one row in the file */
    uint32_t pitch;         /* bytes from row to row in the buffer */
    int32_t rows;           /* none when not positive */
    int32_t offsetOrAppend; /* reading: byte offset to start at; writing: non-zero appends */
} ST_FILE_ALIGN_BLOCK;

/* Bytes at the buffer of an ST_FILE_BLOCK. */
static inline size_t eisSizeOfFileBuffer(uint32_t elementSize, uint32_t elementCount) {
    return (size_t)elementSize * elementCount;
}

/* Bytes at the buffer of an ST_FILE_ALIGN_BLOCK, which is below 4 GiB: the last row has no padding. */
static inline size_t eisSizeOfFileRows(uint32_t rowBytes, uint32_t pitch, int32_t rows) {
    return rows > 0 ? (size_t)(rows - 1) * pitch + rowBytes : 0;
}

#ifdef __cplusplus
#include <cstddef>

static_assert(sizeof(ST_FILE_BLOCK) == 20 && offsetof(ST_FILE_BLOCK, path) == 0 &&
              offsetof(ST_FILE_BLOCK, buffer) == 4 && offsetof(ST_FILE_BLOCK, elementSize) == 8 &&
              offsetof(ST_FILE_BLOCK, elementCount) == 12 && offsetof(ST_FILE_BLOCK, offsetOrAppend) == 16);
static_assert(sizeof(ST_FILE_ALIGN_BLOCK) == 28 && offsetof(ST_FILE_ALIGN_BLOCK, path) == 0 &&
              offsetof(ST_FILE_ALIGN_BLOCK, buffer) == 4 && offsetof(ST_FILE_ALIGN_BLOCK, rowBytes) == 12 &&
              offsetof(ST_FILE_ALIGN_BLOCK, pitch) == 16 && offsetof(ST_FILE_ALIGN_BLOCK, rows) == 20 &&
              offsetof(ST_FILE_ALIGN_BLOCK, offsetOrAppend) == 24);
#endif

#endif
