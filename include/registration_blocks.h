/* Parameter blocks of RansacEst_AcoreAPI_EIS and Ransac_Regis_AcoreAPI_EIS. */
#ifndef REGISTRATION_BLOCKS_H
#define REGISTRATION_BLOCKS_H

#include "acore_types.h"

/* Index-aligned point arrays: pairs of 32-bit floats (x, y) in pixels. */
typedef struct ST_MATCH_PAIRS_DEV {
    DeviceAddress pRefPoints; /* in the reference frame */
    DeviceAddress pCurPoints; /* in the frame to register */
    int32_t pointNum;         /* in: must exceed 4; out: the pairs left */
} ST_MATCH_PAIRS_DEV;

/* A k-nearest-neighbour result and the keypoint tables that it indexes: eleven 32-bit words. A keypoint is a row of
   three signed 32-bit words: x, y (in 1/64 pixel once multiplied by coordScale) and one that is not read. */
typedef struct RansacEstParaContext {
    ST_MATCH_PAIRS_DEV stMatchPairs; /* arrays with room for matchNum pairs; both are rewritten */
    DeviceAddress pCurIndex;         /* matchNum signed 16-bit indices into pCurKeypoints */
    DeviceAddress pRefIndex;         /* matchNum signed 16-bit indices into pRefKeypoints */
    DeviceAddress pDistance;         /* matchNum signed 32-bit distances, 2147483647 for a missing one */
    int32_t matchNum;                /* entries of the three lists */
    int32_t coordScale;              /* factor on the keypoints of both tables */
    float ratio;                 /* of the test between the best and the second best distance of one reference point */
    DeviceAddress pRefKeypoints; /* of the reference frame */
    DeviceAddress pCurKeypoints; /* of the frame to register */
} RansacEstParaContext;

/* Frame numbers: 0 is the reference, idx 1 to 3 the frame of a call. */
enum { kRegistrationMaxFrames = 4 };

/* The pairs of a frame. */
typedef struct ST_REGISTRATION_PAIR_DEV {
    DeviceAddress pRefPoints; /* the arrays of stMatchPairs again */
    DeviceAddress pCurPoints; /* as above */
    uint32_t reserved;        /* not read */
} ST_REGISTRATION_PAIR_DEV;

/* Input block. Width, height and format of frame 0 stand for all pictures; of the others only the planes are read. Rows
   of luma lie stride = (width + 127) & ~127 bytes apart, rows of chroma (stride / 2 + 127) & ~127, and planes hold
   whole rows. A frame that is copied has its chroma rows (width / 2 + 127) & ~127 apart: the same, but at widths of 256
   k + 1. Heights should be multiples of 8, for a copy leaves the luma rows behind the last multiple of 4, and the
   chroma rows behind the last one of 8 luma rows. */
typedef struct ST_REGISTRATION_IN_BLOCK {
    ST_PICTURE_DEV astInImg[kRegistrationMaxFrames];               /* the frames, the reference first */
    uint32_t reserved;                                             /* word 28, not read */
    ST_REGISTRATION_PAIR_DEV astPairs[kRegistrationMaxFrames - 1]; /* from word 29, for idx 1, 2, 3 */
} ST_REGISTRATION_IN_BLOCK;

/* Output block. Of each picture only the planes are read. */
typedef struct ST_REGISTRATION_OUT_BLOCK {
    ST_PICTURE_DEV astOutImg[kRegistrationMaxFrames]; /* where frame idx goes */
    uint32_t reserved[34];                            /* not read */
    DeviceAddress pStatus; /* word 62: a signed 32-bit word that receives the outcome, 3 for a refusal */
} ST_REGISTRATION_OUT_BLOCK;

/* Call block: six 32-bit words. */
typedef struct ST_RANSAC_REGIS_BLOCK {
    DeviceAddress pRansacEstParaContext;      /* a RansacEstParaContext */
    DeviceAddress stImgRegistrationParamsIn;  /* an ST_REGISTRATION_IN_BLOCK */
    DeviceAddress stImgRegistrationParamsOut; /* an ST_REGISTRATION_OUT_BLOCK */
    int32_t idx;                              /* 1 to 3 */
    int32_t lumaOnly;                         /* non-zero: warp and flush luma alone; a copy still is of all planes */
    DeviceAddress pHomography; /* nine 32-bit floats, row-major; written (identity) only when under 8 pairs are left,
                                  and not flushed */
} ST_RANSAC_REGIS_BLOCK;

/* Bytes at pRefKeypoints or pCurKeypoints of a table of so many keypoints. */
static inline size_t eisSizeOfKeypoints(int32_t keypoints) {
    return eisSizeOfPlane(3 * (int32_t)sizeof(int32_t), keypoints);
}

/* Bytes at pRefIndex or pCurIndex. */
static inline size_t eisSizeOfMatchIndices(int32_t matchNum) {
    return eisSizeOfPlane((int32_t)sizeof(int16_t), matchNum);
}

/* Bytes at pDistance. */
static inline size_t eisSizeOfMatchDistances(int32_t matchNum) {
    return eisSizeOfPlane((int32_t)sizeof(int32_t), matchNum);
}

/* Bytes at pRefPoints or pCurPoints. */
static inline size_t eisSizeOfMatchPoints(int32_t matchNum) {
    return eisSizeOfPlane(2 * (int32_t)sizeof(float), matchNum);
}

/* Bytes at pData[0] of a picture to register or to fill. */
static inline size_t eisSizeOfRegistrationLuma(int32_t width, int32_t height) {
    return eisSizeOfPlane(eisPitch(width), height);
}

/* Bytes at pData[1], and at pData[2]. A copy takes all three planes, though lumaOnly is set. */
static inline size_t eisSizeOfRegistrationChroma(int32_t width, int32_t height) {
    return eisSizeOfPlane(eisPitch(eisPitch(width) / 2), height / 2);
}

/* Bytes at pHomography. */
static inline size_t eisSizeOfHomography(void) {
    return 9 * sizeof(float);
}

#ifdef __cplusplus
#include <cstddef>

static_assert(sizeof(RansacEstParaContext) == 44 && offsetof(RansacEstParaContext, stMatchPairs) == 0 &&
              offsetof(ST_MATCH_PAIRS_DEV, pCurPoints) == 4 && offsetof(ST_MATCH_PAIRS_DEV, pointNum) == 8 &&
              offsetof(RansacEstParaContext, pCurIndex) == 12 && offsetof(RansacEstParaContext, pRefIndex) == 16 &&
              offsetof(RansacEstParaContext, pDistance) == 20 && offsetof(RansacEstParaContext, matchNum) == 24 &&
              offsetof(RansacEstParaContext, coordScale) == 28 && offsetof(RansacEstParaContext, ratio) == 32 &&
              offsetof(RansacEstParaContext, pRefKeypoints) == 36 &&
              offsetof(RansacEstParaContext, pCurKeypoints) == 40);
static_assert(offsetof(ST_REGISTRATION_IN_BLOCK, astPairs) == 29 * 4 && sizeof(ST_REGISTRATION_PAIR_DEV) == 12 &&
              offsetof(ST_REGISTRATION_PAIR_DEV, pCurPoints) == 4);
static_assert(offsetof(ST_REGISTRATION_OUT_BLOCK, pStatus) == 62 * 4);
static_assert(sizeof(ST_RANSAC_REGIS_BLOCK) == 24 && offsetof(ST_RANSAC_REGIS_BLOCK, pRansacEstParaContext) == 0 &&
              offsetof(ST_RANSAC_REGIS_BLOCK, stImgRegistrationParamsIn) == 4 &&
              offsetof(ST_RANSAC_REGIS_BLOCK, stImgRegistrationParamsOut) == 8 &&
              offsetof(ST_RANSAC_REGIS_BLOCK, idx) == 12 && offsetof(ST_RANSAC_REGIS_BLOCK, lumaOnly) == 16 &&
              offsetof(ST_RANSAC_REGIS_BLOCK, pHomography) == 20);
#endif

#endif
