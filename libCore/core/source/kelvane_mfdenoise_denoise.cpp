// The entry that denoises a picture's luma, and its chroma when asked.
#include <cstddef>

#include "highLevel/src/MultiDenoise_MultiThread.h"
#include "include/acore_api.h"
#include "libCore/core/source/frame/export.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/wire.h"

namespace eis {

namespace {

static_assert(offsetof(ST_MULTIDENOISE_PARAMS_IN_DEV, stDNParams) == 140 &&
              offsetof(ST_MULTIDENOISE_PARAMS_IN_DEV, globalMotionState) == 212 &&
              offsetof(ST_MULTIDENOISE_PARAMS_IN_DEV, waitApFlag) == 336);
static_assert(sizeof(ST_MULTIDENOISE_PARAMS_OUT_DEV) == 28);
static_assert(sizeof(ST_SPATIAL_NR_CALL_BLOCK) == 8 && offsetof(ST_SPATIAL_NR_CALL_BLOCK, inPara) == 0 &&
              offsetof(ST_SPATIAL_NR_CALL_BLOCK, outPara) == 4);

}  // namespace

}  // namespace eis

using namespace eis;

EIS_EXPORT ret_status SpatialNrHLMain_ACoreApi(const ST_SPATIAL_NR_CALL_BLOCK* blockAddress) {
    EIS_LOG_INFO("enter func %s\n", __func__);
    const auto block = loadUnaligned<ST_SPATIAL_NR_CALL_BLOCK>(blockAddress);
    const void* inPara = FunConvert2Addr(block.inPara);
    if (inPara == nullptr) {
        EIS_LOG_ERROR("SpatialNrHLMain_ACoreApi FunConvert2Addr convert addr error\n");
        return retStsBadAddress;
    }
    const auto in = loadUnaligned<ST_MULTIDENOISE_PARAMS_IN_DEV>(inPara);
    EIS_LOG_INFO("SpatialNrHigh inPara->waitApFlag = %d\n", in.waitApFlag);
    EIS_LOG_INFO("SpatialNrHigh paramHighLevelIn.globalMotionState [%d]\n", in.globalMotionState);

    const ST_DN_PARAMS_NEW& wire = in.stDNParams;
    ST_MULTIDENOISE_PARAMS_IN paramHighLevelIn{DnParamsOf(wire), in.globalMotionState, in.waitApFlag};
    ST_DN_PARAMS_VA& dn = paramHighLevelIn.stDNParams;
    EIS_LOG_INFO(
        "SpatialNrHigh inPara->stDNParams.pMaskIIR [%x],inPara->stDNParams.pSpatialChromaNrLUT "
        "[%x],inPara->stDNParams.pIIRImgNum [%x]\n",
        wire.pMaskIIR, wire.pSpatialChromaNrLUT, wire.pIIRImgNum);
    dn.pMaskIIR = convertTo<uint8_t>(wire.pMaskIIR);
    dn.pSpatialChromaNrLUT = convertTo<uint8_t>(wire.pSpatialChromaNrLUT);
    if (dn.pMaskIIR == nullptr || dn.pSpatialChromaNrLUT == nullptr) {
        EIS_LOG_ERROR("SpatialNrHLMain_ACoreApi stDNParams FunConvert2Addr convert addr error\n");
        return retStsBadAddress;
    }
    EIS_LOG_INFO(
        "SpatialNrHigh paramHighLevelIn.stDNParams.pMaskIIR [%p],paramHighLevelIn.stDNParams.pSpatialChromaNrLUT "
        "[%p],paramHighLevelIn.stDNParams.pIIRImgNum [%p]\n",
        static_cast<const void*>(dn.pMaskIIR), static_cast<const void*>(dn.pSpatialChromaNrLUT), dn.pIIRImgNum);

    const void* outPara = FunConvert2Addr(block.outPara);
    if (outPara == nullptr) {
        EIS_LOG_ERROR("SpatialNrHLMain_ACoreApi outPara FunConvert2Addr convert addr error\n");
        return retStsBadAddress;
    }
    const ST_PICTURE_DEV picture = loadUnaligned<ST_MULTIDENOISE_PARAMS_OUT_DEV>(outPara).stPicOut;
    ST_MULTIDENOISE_PARAMS_OUT paramHighLevelOut{};
    ST_PICTURE& stPicOut = paramHighLevelOut.stPicOut;
    stPicOut.format = picture.format;
    stPicOut.width = picture.width;
    stPicOut.height = picture.height;
    stPicOut.stride = picture.stride;
    EIS_LOG_INFO("SpatialNrHigh width[%d],height[%d],stride[%d]\n", picture.width, picture.height, picture.stride);
    uint8_t* pData[3];
    for (int i = 0; i < 3; ++i) stPicOut.pData[i] = pData[i] = convertTo<uint8_t>(picture.pData[i]);
    if (pData[0] == nullptr || pData[1] == nullptr || pData[2] == nullptr) {
        EIS_LOG_ERROR("SpatialNrHLMain_ACoreApi stPicOut FunConvert2Addr convert addr error\n");
        return retStsBadAddress;
    }
    EIS_LOG_INFO(
        "SpatialNrHigh paramHighLevelOut.stPicOut.pData[0][%p],paramHighLevelOut.stPicOut.pData[1][%p],"
        "paramHighLevelOut.stPicOut.pData[2][%p]\n",
        static_cast<void*>(pData[0]), static_cast<void*>(pData[1]), static_cast<void*>(pData[2]));

    EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevelMainCall start\n");
    const ret_status status = SpatialNrHighLevelMainCall(&paramHighLevelIn, &paramHighLevelOut);
    EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevelMainCall end\n");
    // On a picture of a wrong size, too.
    for (uint8_t* plane : pData) FunFlushBuff(plane);
    EIS_LOG_INFO("exit func %s\n", __func__);
    return status;
}
