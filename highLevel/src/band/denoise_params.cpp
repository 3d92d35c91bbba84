#include "highLevel/src/band/denoise_params.h"

#include <cstddef>

namespace eis {

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

ST_DN_PARAMS_VA DnParamsOf(const ST_DN_PARAMS_NEW& wire) {
    return {wire.dnReserved0,
            nullptr,
            wire.iirImgCount,
            wire.lumaMed,
            wire.lumaLF,
            wire.lumaHF1,
            wire.lumaHF2,
            wire.lumaHF3,
            wire.chromaS,
            wire.detail,
            nullptr,
            nullptr,
            wire.lumaNrEnable,
            wire.chromaNrEnable,
            wire.dnReserved50,
            wire.dnReserved54,
            wire.dnReserved58,
            wire.chromaEdgeLevel,
            wire.dnReserved63,
            wire.chromaGainIndex,
            wire.chromaEdgeAlpha};
}

}  // namespace eis
