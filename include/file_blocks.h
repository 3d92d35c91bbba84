/* Parameter blocks of the four file entries. Paths are null-terminated texts. */
#ifndef FILE_BLOCKS_H
#define FILE_BLOCKS_H

#include "acore_types.h"

/* ivp_fread, ivp_fwrite: five 32-bit words. */
typedef struct ST_FILE_BLOCK {
    DeviceAddress path;
    DeviceAddress buffer;
    uint32_t elementSize; /* bytes */
    uint32_t elementCount;
    int32_t offsetOrAppend; /* reading: byte offset to start at; writing: non-zero appends */
} ST_FILE_BLOCK;

/* ivp_fread_align, ivp_fwrite_align: seven 32-bit words. Rows are tight in the file and pitched in the buffer. */
typedef struct ST_FILE_ALIGN_BLOCK {
    DeviceAddress path;
    DeviceAddress buffer;
    uint32_t reserved;      /* not read */
    uint32_t rowBytes;      /* bytes of one row in the file */
    uint32_t pitch;         /* bytes from row to row in the buffer */
    int32_t rows;           /* none when not positive */
    int32_t offsetOrAppend; /* reading: byte offset to start at; writing: non-zero appends */
} ST_FILE_ALIGN_BLOCK;

#endif
