/* Parameter blocks of the two entries that compute strength tables. */
#ifndef CONTROL_BLOCKS_H
#define CONTROL_BLOCKS_H

#include "acore_types.h"

/* CalcFastDn2dControl_AcoreAPI: 40 bytes. */
typedef struct ST_FAST_DN2D_CONTROL {
    DeviceAddress iDnCoefs;  /* the table block: 2048 signed 16-bit entries, aligned to 2 bytes */
    uint32_t reserved[3];    /* not read */
    int32_t nrTailRatio;     /* strength of the tail table, about -105 (none) to 0 */
    int32_t nrLumaDetail;    /* gain of the second luma curve: 5000/8192 at -46 and above, 8000/8192 at -99 and below */
    int32_t nrLumaRatio;     /* strength of the luma curve, from -100 (none) */
    int32_t nrUVRatio;       /* strength of the chroma curves, about -105 (none) to 0 */
    int32_t nrTH;            /* strength of the threshold table, 0 (none) to 254 */
    float nrShadingStrength; /* factor on the chroma strength for the shading curve */
} ST_FAST_DN2D_CONTROL;

/* CalcShrinkLUTDnCoef: 32 bytes. */
typedef struct ST_SHRINK_LUT_CONTROL {
    DeviceAddress iLutCoefs; /* the table block: 3569 signed 16-bit entries, aligned to 2 bytes */
    int32_t lumaRatio;       /* strength of the luma curve, from -100 (none) */
    int32_t shrinkRatio0;    /* strengths of the shrink tables, from -128 (none) to 382 */
    int32_t shrinkRatio1;    /* of the second table */
    int32_t shrinkRatio2;    /* of the third table */
    int32_t lumaDetail;      /* gain of the second luma curve, as nrLumaDetail */
    uint64_t memAllocator;   /* virtual address of a MemAllocatorTable to install, or 0 */
} ST_SHRINK_LUT_CONTROL;

/* Where the tables begin in their blocks, in entries. An odd table has its zero input at the centre: entry centre + k
   answers a difference of k, centre - k one of -k, with the opposite sign. A table without a centre begins at zero
   input. What stands between and around the tables in the fast block is 0. */
enum {
    kFastLuma = 0,           /* 241 entries, centre 120; five fractional bits */
    kFastLumaGain = 256,     /* 241 entries, centre 120: the luma curve times the gain */
    kFastChroma = 512,       /* 256 entries, the last one 0; five fractional bits */
    kFastChromaSoft = 768,   /* the chroma curve times 0.6 */
    kFastShading = 1024,     /* 256 entries, the last one 0; five fractional bits */
    kFastShadingSoft = 1280, /* the shading curve times 0.6 */
    kFastThreshold = 1536,   /* 256 entries, centre 128; no fractional bits */
    kFastTail = 1792,        /* 256 entries, centre 128; no fractional bits */
    kFastEntries = 2048,     /* the whole block */
    kShrinkTables = 0,       /* three tables of 1024 entries, centre 512: what is left of a coefficient */
    kShrinkTableEntries = 1024,
    kShrinkLuma = 3072,     /* 241 entries, centre 120; the 15 entries behind it are not written */
    kShrinkLumaGain = 3328, /* 241 entries, centre 120: the luma curve times the gain */
    kShrinkEntries = 3569   /* the whole block */
};

/* Bytes at iDnCoefs. */
static inline size_t eisSizeOfFastTables(void) {
    return kFastEntries * sizeof(int16_t);
}

/* Bytes at iLutCoefs. */
static inline size_t eisSizeOfShrinkTables(void) {
    return kShrinkEntries * sizeof(int16_t);
}

#ifdef __cplusplus
#include <cstddef>

static_assert(sizeof(ST_FAST_DN2D_CONTROL) == 40 && offsetof(ST_FAST_DN2D_CONTROL, iDnCoefs) == 0 &&
              offsetof(ST_FAST_DN2D_CONTROL, nrTailRatio) == 16 && offsetof(ST_FAST_DN2D_CONTROL, nrLumaDetail) == 20 &&
              offsetof(ST_FAST_DN2D_CONTROL, nrLumaRatio) == 24 && offsetof(ST_FAST_DN2D_CONTROL, nrUVRatio) == 28 &&
              offsetof(ST_FAST_DN2D_CONTROL, nrTH) == 32 && offsetof(ST_FAST_DN2D_CONTROL, nrShadingStrength) == 36);
static_assert(sizeof(ST_SHRINK_LUT_CONTROL) == 32 && offsetof(ST_SHRINK_LUT_CONTROL, iLutCoefs) == 0 &&
              offsetof(ST_SHRINK_LUT_CONTROL, lumaRatio) == 4 && offsetof(ST_SHRINK_LUT_CONTROL, shrinkRatio0) == 8 &&
              offsetof(ST_SHRINK_LUT_CONTROL, shrinkRatio1) == 12 &&
              offsetof(ST_SHRINK_LUT_CONTROL, shrinkRatio2) == 16 &&
              offsetof(ST_SHRINK_LUT_CONTROL, lumaDetail) == 20 && offsetof(ST_SHRINK_LUT_CONTROL, memAllocator) == 24);
#endif

#endif
