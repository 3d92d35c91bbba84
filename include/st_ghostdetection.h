// Records of ghost detection.
#pragma once

#include <cstddef>
#include <cstdint>

#include "include/st_picture.h"

namespace eis {

// Words of 32 bits, most of which belong to other stages.
#pragma pack(push, 4)
struct ST_GHOSTDETECTION_PARAMS_IN {
    uint32_t reserved0[10];
    // Luma rows lie their width rounded up to 128 apart, chroma rows half the width rounded up to 128; strides are not
    // read. Of the reference, height and planes alone are.
    ST_PICTURE img;  // under test
    uint32_t reserved20[21];
    ST_PICTURE imgRef;
    uint32_t reserved51[32];
    int32_t ghostEnable;  // 1: detect
    uint32_t reserved84;
    // A filtered difference above a threshold is a ghost: above the low one where the shrunken picture is below the
    // noise threshold, above the high one elsewhere. Samples, 0 to 255; below 0 everything is a ghost.
    int32_t lumaTH_Low;
    int32_t lumaTH_High;
    int32_t lumaNoiseTH;
    int32_t chromaTH_Low;
    int32_t chromaTH_High;
    int32_t chromaNoiseTH;
    uint32_t reserved91[2];
};

struct ST_GHOSTDETECTION_PARAMS_OUT {
    uint8_t* pMask;  // the picture's size, rows as luma rows: 0 as the reference, 255 a ghost, between them its edge
    uint32_t reserved2[7];
    uint32_t* pGhostSize;  // the ghosts' area in pixels, as luma shows it
};
#pragma pack(pop)
static_assert(sizeof(ST_GHOSTDETECTION_PARAMS_IN) == 372 && offsetof(ST_GHOSTDETECTION_PARAMS_IN, img) == 40 &&
              offsetof(ST_GHOSTDETECTION_PARAMS_IN, imgRef) == 164 &&
              offsetof(ST_GHOSTDETECTION_PARAMS_IN, ghostEnable) == 332 &&
              offsetof(ST_GHOSTDETECTION_PARAMS_IN, lumaTH_Low) == 340 &&
              offsetof(ST_GHOSTDETECTION_PARAMS_IN, lumaTH_High) == 344 &&
              offsetof(ST_GHOSTDETECTION_PARAMS_IN, lumaNoiseTH) == 348 &&
              offsetof(ST_GHOSTDETECTION_PARAMS_IN, chromaTH_Low) == 352 &&
              offsetof(ST_GHOSTDETECTION_PARAMS_IN, chromaTH_High) == 356 &&
              offsetof(ST_GHOSTDETECTION_PARAMS_IN, chromaNoiseTH) == 360);
static_assert(sizeof(ST_GHOSTDETECTION_PARAMS_OUT) == 44 && offsetof(ST_GHOSTDETECTION_PARAMS_OUT, pMask) == 0 &&
              offsetof(ST_GHOSTDETECTION_PARAMS_OUT, pGhostSize) == 36);

// One band: records of its own whose pictures are the band's rows, overlap included, and whose mask its own rows.
struct ST_GHOST_BAND_PARAMS {
    ST_GHOSTDETECTION_PARAMS_IN* pIn;
    ST_GHOSTDETECTION_PARAMS_OUT* pOut;
    int32_t chromaRows;
    int32_t topLuma, bottomLuma;  // rows of overlap
    int32_t topChroma, bottomChroma;
};

}  // namespace eis
