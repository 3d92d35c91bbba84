// Ghost masks of single planes: both pictures shrunk, their filtered difference held against a threshold that depends
// on brightness, and the result cleaned by morphology.
//
// Masks are 0 or 255, width by height of the shrunken plane, without gaps. img is the plane under test; rows of both
// planes lie the width rounded up to 128 apart, unless said. Status: retStsOK or retStsNoMemory.
#pragma once

#include <cstdint>

#include "include/acore_types.h"
#include "include/st_ghostdetection.h"

namespace eis {

// Luma, at a quarter of each dimension; gaps are closed. *pGhostSize becomes 0, or the number of mask pixels that are
// set.
ret_status GetMask_neon(const uint8_t* img, const uint8_t* imgRef, uint8_t* mask, int32_t height, int32_t width,
                        uint32_t* pGhostSize, const ST_GHOSTDETECTION_PARAMS_IN* pParams);
ret_status GetMask_Stride_neon(const uint8_t* img, const uint8_t* imgRef, uint8_t* mask, int32_t height, int32_t width,
                               uint32_t* pGhostSize, const ST_GHOSTDETECTION_PARAMS_IN* pParams);
// The same for planes that are small already, whose rows lie without gaps; *pGhostSize becomes 0.
ret_status GetMask_NoScale_neon(const uint8_t* img, const uint8_t* imgRef, uint8_t* mask, int32_t height, int32_t width,
                                uint32_t* pGhostSize, const ST_GHOSTDETECTION_PARAMS_IN* pParams);

// Chroma, at half of each of the chroma plane's dimensions; specks are dropped. *pSize becomes 0.
ret_status GetMaskChroma_neon(const uint8_t* img, const uint8_t* imgRef, uint8_t* mask, uint32_t* pSize, int32_t height,
                              int32_t width, const ST_GHOSTDETECTION_PARAMS_IN* pParams);
ret_status GetMaskChroma_stride_neon(const uint8_t* img, const uint8_t* imgRef, uint8_t* mask, uint32_t* pSize,
                                     int32_t height, int32_t width, const ST_GHOSTDETECTION_PARAMS_IN* pParams);

// The core, with the luma and with the chroma thresholds: planes and mask are width by height without gaps. A plane
// under 6 columns or rows gets an empty mask. scratch is not used.
ret_status diff_GaussianFitler_mask_neon_2(const uint8_t* a, const uint8_t* b, int16_t* scratch, uint8_t* mask,
                                           int32_t width, int32_t height, const ST_GHOSTDETECTION_PARAMS_IN* pParams);
ret_status diff_GaussianFitler_mask_neon_2C(const uint8_t* a, const uint8_t* b, int16_t* scratch, uint8_t* mask,
                                            int32_t width, int32_t height, const ST_GHOSTDETECTION_PARAMS_IN* pParams);

// How many mask bytes have their lowest bit set.
uint32_t CountGhostPixels(const uint8_t* mask, int64_t count);

}  // namespace eis
