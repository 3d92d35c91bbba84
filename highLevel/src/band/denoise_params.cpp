#include "highLevel/src/band/denoise_params.h"

namespace eis {

ST_DN_PARAMS_VA DnParamsOf(const ST_DN_PARAMS_NEW& wire) {
    return {.pMaskIIR = nullptr,
            .iirImgCount = wire.iirImgCount,
            .lumaMed = wire.lumaMed,
            .lumaLF = wire.lumaLF,
            .lumaHF1 = wire.lumaHF1,
            .chromaS = wire.chromaS,
            .detail = wire.detail,
            .pSpatialChromaNrLUT = nullptr,
            .lumaNrEnable = wire.lumaNrEnable,
            .chromaNrEnable = wire.chromaNrEnable,
            .chromaEdgeLevel = wire.chromaEdgeLevel,
            .chromaGainIndex = wire.chromaGainIndex,
            .chromaEdgeAlpha = wire.chromaEdgeAlpha};
}

}  // namespace eis
