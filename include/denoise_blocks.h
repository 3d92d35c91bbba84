/* Parameter blocks of the denoise entries. */
#ifndef DENOISE_BLOCKS_H
#define DENOISE_BLOCKS_H

#include "acore_types.h"

/* The records are packed: no field is aligned. */
#pragma pack(push, 1)

/* What all three entries take: 72 bytes. The reserved fields, and those said to be carried, change nothing. */
typedef struct ST_DN_PARAMS_NEW {
    uint8_t dnReserved0;    /* not read */
    DeviceAddress pMaskIIR; /* motion mask: a byte for each luma pixel, rows (width + 127) & ~127 bytes apart, which
                               should be the call's stride: at heights of 256 and more, bands start at rows of that;
                               height rows of the larger of both are read. At its top value chroma edges are guarded
                               in full, at 0 by half. Only ChromaLowLevelMainCall_2 reads it, but it must convert for
                               all */
    uint8_t iirImgCount;    /* images in the recursive average: 2, 3 to 4 (also 0 and 1), 5 to 8, 9 and more stand for a
                               mask of 5, 6, 7, 8 bits */
    int32_t lumaMed;        /* non-zero: a 3x3 median at the start of the luma pass, and on the texture map */
    int32_t lumaLF;         /* strength of low-frequency luma smoothing, from -100 (none) */
    int32_t lumaHF1;        /* strength of luma detail shrinkage, -128 (none) to 0 */
    int32_t lumaHF2;        /* carried */
    int32_t lumaHF3;        /* carried */
    int32_t chromaS;        /* chroma strength, about -100 (none) up */
    int32_t detail;         /* how much luma texture comes back, from about -100 (most) to 0 (least) */
    DeviceAddress pSpatialChromaNrLUT; /* 256 bytes, of which 160 count: 32-bit words by plane (2), wavelet level (5)
                                          and class of the plane's values (4). A word of 512 * T / (0.4 * (chromaS +
                                          100)) is a threshold of T levels off edges */
    DeviceAddress pIIRImgNum;          /* logged */
    int32_t lumaNrEnable;              /* non-zero: write the denoised luma back */
    int32_t chromaNrEnable;            /* non-zero: denoise chroma */
    int32_t dnReserved50;              /* not read */
    int32_t dnReserved54;              /* not read */
    int32_t dnReserved58;              /* not read */
    uint8_t chromaEdgeLevel; /* above 64: luma edges guard chroma, too (high level with luma only); from 201 on: the
                                gain index falls by one */
    uint8_t dnReserved63;    /* not read */
    int32_t chromaGainIndex; /* 1 (mild) to 9 (strong): saturation gain; any other: none */
    int32_t chromaEdgeAlpha; /* 0 to 255: weight of the denoised chroma on edges against its low-pass */
} ST_DN_PARAMS_NEW;

/* inPara of SpatialNrHLMain_ACoreApi. */
typedef struct ST_MULTIDENOISE_PARAMS_IN_DEV {
    uint8_t reserved0[140];      /* not read */
    ST_DN_PARAMS_NEW stDNParams; /* what to do */
    int32_t globalMotionState;   /* logged */
    uint8_t reserved216[120];    /* not read */
    int32_t waitApFlag;          /* logged */
} ST_MULTIDENOISE_PARAMS_IN_DEV;

/* outPara of SpatialNrHLMain_ACoreApi: the picture, denoised in place. Its width and height are at least 128 and even;
   a height of 256 or more is a multiple of 4, best of 16. Rows of luma lie (width + 127) & ~127 bytes apart, rows of
   chroma (width / 2 + 127) & ~127; stride plays no part. */
typedef struct ST_MULTIDENOISE_PARAMS_OUT_DEV {
    ST_PICTURE_DEV stPicOut; /* the picture, in and out */
} ST_MULTIDENOISE_PARAMS_OUT_DEV;

#pragma pack(pop)

/* Call block of SpatialNrHLMain_ACoreApi: two 32-bit words. */
typedef struct ST_SPATIAL_NR_CALL_BLOCK {
    DeviceAddress inPara;  /* an ST_MULTIDENOISE_PARAMS_IN_DEV */
    DeviceAddress outPara; /* an ST_MULTIDENOISE_PARAMS_OUT_DEV */
} ST_SPATIAL_NR_CALL_BLOCK;

/* Call block of ChromaLowLevelMainCall_2 and ChromaHighLevelMainCall_2: eight 32-bit words. Chroma planes have height /
   2 rows, (stride / 2 + 127) & ~127 bytes apart. */
typedef struct ST_CHROMA_CALL_BLOCK {
    DeviceAddress stDNParams;        /* an ST_DN_PARAMS_NEW */
    DeviceAddress pMemoryManagement; /* scratch memory, aligned to 2 bytes, chromaScratchSize(width, height) bytes at
                                        least: a smaller block is overrun */
    int32_t memSize;                 /* bytes of it, all of which are zeroed first */
    int32_t width;                   /* luma pixels */
    int32_t height;                  /* luma pixels */
    int32_t stride;                  /* luma bytes a row */
    DeviceAddress pData1;            /* chroma planes, denoised in place */
    DeviceAddress pData2;            /* the second chroma plane */
} ST_CHROMA_CALL_BLOCK;

/* Bytes at pData[0] of SpatialNrHLMain_ACoreApi. */
static inline size_t eisSizeOfDenoiseLuma(int32_t width, int32_t height) {
    return eisSizeOfPlane(eisPitch(width), height);
}

/* Bytes at its pData[1], and at its pData[2]. */
static inline size_t eisSizeOfDenoiseChroma(int32_t width, int32_t height) {
    return eisSizeOfPlane(eisPitch(width / 2), height / 2);
}

/* Bytes at pData1, and at pData2, of a chroma call. */
static inline size_t eisSizeOfChromaPlane(int32_t stride, int32_t height) {
    return eisSizeOfPlane(eisPitch(stride / 2), height / 2);
}

/* Bytes at pMaskIIR, for ChromaLowLevelMainCall_2: the other entries read none. */
static inline size_t eisSizeOfMotionMask(int32_t width, int32_t stride, int32_t height) {
    const int32_t pitch = eisPitch(width);
    return eisSizeOfPlane(stride > pitch ? stride : pitch, height);
}

/* Bytes at pSpatialChromaNrLUT. */
static inline size_t eisSizeOfChromaThresholds(void) {
    return 256;
}

/* The memSize of a chroma call on a picture of width x height luma pixels. */
static inline int64_t chromaScratchSize(int32_t width, int32_t height) {
    const int64_t columns = width >> 2;
    const int32_t quarter = height >> 2;
    if (height < 256 || width < 128) return 28 * columns * quarter;
    const int64_t edgeBand = ((quarter + 79) & ~15) >> 2;
    const int64_t middleBand = ((quarter + 143) & ~15) >> 2;
    return 56 * columns * (edgeBand + middleBand);
}

#ifdef __cplusplus
#include <cstddef>

static_assert(sizeof(ST_DN_PARAMS_NEW) == 72 && offsetof(ST_DN_PARAMS_NEW, dnReserved0) == 0 &&
              offsetof(ST_DN_PARAMS_NEW, pMaskIIR) == 1 && offsetof(ST_DN_PARAMS_NEW, iirImgCount) == 5 &&
              offsetof(ST_DN_PARAMS_NEW, lumaMed) == 6 && offsetof(ST_DN_PARAMS_NEW, lumaLF) == 10 &&
              offsetof(ST_DN_PARAMS_NEW, lumaHF1) == 14 && offsetof(ST_DN_PARAMS_NEW, lumaHF2) == 18 &&
              offsetof(ST_DN_PARAMS_NEW, lumaHF3) == 22 && offsetof(ST_DN_PARAMS_NEW, chromaS) == 26 &&
              offsetof(ST_DN_PARAMS_NEW, detail) == 30 && offsetof(ST_DN_PARAMS_NEW, pSpatialChromaNrLUT) == 34 &&
              offsetof(ST_DN_PARAMS_NEW, pIIRImgNum) == 38 && offsetof(ST_DN_PARAMS_NEW, lumaNrEnable) == 42 &&
              offsetof(ST_DN_PARAMS_NEW, chromaNrEnable) == 46 && offsetof(ST_DN_PARAMS_NEW, dnReserved50) == 50 &&
              offsetof(ST_DN_PARAMS_NEW, dnReserved54) == 54 && offsetof(ST_DN_PARAMS_NEW, dnReserved58) == 58 &&
              offsetof(ST_DN_PARAMS_NEW, chromaEdgeLevel) == 62 && offsetof(ST_DN_PARAMS_NEW, dnReserved63) == 63 &&
              offsetof(ST_DN_PARAMS_NEW, chromaGainIndex) == 64 && offsetof(ST_DN_PARAMS_NEW, chromaEdgeAlpha) == 68);
static_assert(offsetof(ST_MULTIDENOISE_PARAMS_IN_DEV, stDNParams) == 140 &&
              offsetof(ST_MULTIDENOISE_PARAMS_IN_DEV, globalMotionState) == 212 &&
              offsetof(ST_MULTIDENOISE_PARAMS_IN_DEV, waitApFlag) == 336);
static_assert(sizeof(ST_MULTIDENOISE_PARAMS_OUT_DEV) == 28);
static_assert(sizeof(ST_SPATIAL_NR_CALL_BLOCK) == 8 && offsetof(ST_SPATIAL_NR_CALL_BLOCK, inPara) == 0 &&
              offsetof(ST_SPATIAL_NR_CALL_BLOCK, outPara) == 4);
static_assert(sizeof(ST_CHROMA_CALL_BLOCK) == 32 && offsetof(ST_CHROMA_CALL_BLOCK, stDNParams) == 0 &&
              offsetof(ST_CHROMA_CALL_BLOCK, pMemoryManagement) == 4 && offsetof(ST_CHROMA_CALL_BLOCK, memSize) == 8 &&
              offsetof(ST_CHROMA_CALL_BLOCK, width) == 12 && offsetof(ST_CHROMA_CALL_BLOCK, height) == 16 &&
              offsetof(ST_CHROMA_CALL_BLOCK, stride) == 20 && offsetof(ST_CHROMA_CALL_BLOCK, pData1) == 24 &&
              offsetof(ST_CHROMA_CALL_BLOCK, pData2) == 28);
#endif

#endif
