/* Parameter block of Scale_Bilinear_AcoreAPI. */
#ifndef SCALE_BLOCK_H
#define SCALE_BLOCK_H

#include "acore_types.h"

/* Eleven 32-bit words. Sizes and strides are those of luma. Chroma planes have half the width and height (truncated)
   and a row pitch of (stride / 2 + 127) & ~127; the second chroma plane stands right behind the first, pitch * (height
   / 2) bytes on. For a crop, point the source addresses at its first pixel and keep the larger picture's stride. */
typedef struct ST_SCALE_BLOCK {
    int32_t dstWidth;    /* of the result */
    int32_t dstHeight;   /* of the result */
    int32_t dstStride;   /* at least dstWidth */
    int32_t srcWidth;    /* of the part that is scaled */
    int32_t srcHeight;   /* of the part that is scaled */
    int32_t srcStride;   /* of the picture that holds it */
    int32_t border;      /* must be 2 */
    DeviceAddress Yin;   /* luma of the source */
    DeviceAddress Uvin;  /* first chroma plane of the source */
    DeviceAddress Yout;  /* luma of the result */
    DeviceAddress Uvout; /* first chroma plane of the result */
} ST_SCALE_BLOCK;

/* Bytes at Yin or Yout of a whole picture. Of a crop: from its first pixel on, with its own height. */
static inline size_t eisSizeOfScaleLuma(int32_t stride, int32_t height) {
    return eisSizeOfPlane(stride, height);
}

/* Bytes at Uvin or Uvout: both chroma planes. */
static inline size_t eisSizeOfScaleChroma(int32_t stride, int32_t height) {
    return 2 * eisSizeOfPlane(eisPitch(stride / 2), height / 2);
}

#ifdef __cplusplus
#include <cstddef>

static_assert(sizeof(ST_SCALE_BLOCK) == 44 && offsetof(ST_SCALE_BLOCK, dstWidth) == 0 &&
              offsetof(ST_SCALE_BLOCK, dstHeight) == 4 && offsetof(ST_SCALE_BLOCK, dstStride) == 8 &&
              offsetof(ST_SCALE_BLOCK, srcWidth) == 12 && offsetof(ST_SCALE_BLOCK, srcHeight) == 16 &&
              offsetof(ST_SCALE_BLOCK, srcStride) == 20 && offsetof(ST_SCALE_BLOCK, border) == 24 &&
              offsetof(ST_SCALE_BLOCK, Yin) == 28 && offsetof(ST_SCALE_BLOCK, Uvin) == 32 &&
              offsetof(ST_SCALE_BLOCK, Yout) == 36 && offsetof(ST_SCALE_BLOCK, Uvout) == 40);
#endif

#endif
