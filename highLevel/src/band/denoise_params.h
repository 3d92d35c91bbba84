// The denoise records in the library's own form: those of include/denoise_blocks.h after conversion, without the fields
// that are only carried or logged.
#pragma once

#include <cstdint>

#include "include/denoise_blocks.h"
#include "include/st_picture.h"

namespace eis {

// ST_DN_PARAMS_NEW with virtual addresses.
struct ST_DN_PARAMS_VA {
    const uint8_t* pMaskIIR;
    uint8_t iirImgCount;
    int32_t lumaMed;
    int32_t lumaLF;
    int32_t lumaHF1;
    int32_t chromaS;
    int32_t detail;
    const uint8_t* pSpatialChromaNrLUT;
    int32_t lumaNrEnable;
    int32_t chromaNrEnable;
    uint8_t chromaEdgeLevel;
    int32_t chromaGainIndex;
    int32_t chromaEdgeAlpha;
};

// All fields but the addresses, which stay null.
ST_DN_PARAMS_VA DnParamsOf(const ST_DN_PARAMS_NEW& wire);

struct ST_MULTIDENOISE_PARAMS_IN {
    ST_DN_PARAMS_VA stDNParams;
};

struct ST_MULTIDENOISE_PARAMS_OUT {
    ST_PICTURE stPicOut;
};

}  // namespace eis
