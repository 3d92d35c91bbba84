// The entry that denoises a picture's luma, and its chroma when asked.
#include "highLevel/src/MultiDenoise_MultiThread.h"
#include "include/acore_api.h"
#include "libCore/core/source/frame/export.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/wire.h"

namespace eis {

namespace {

ret_status cannotConvert(const char* what) {
    EIS_LOG_ERROR("SpatialNrHLMain_ACoreApi %sFunConvert2Addr convert addr error\n", what);
    return retStsBadAddress;
}

ret_status readParams(DeviceAddress address, ST_DN_PARAMS_VA& dn) {
    const void* inPara = FunConvert2Addr(address);
    if (inPara == nullptr) return cannotConvert("");
    const auto in = loadUnaligned<ST_MULTIDENOISE_PARAMS_IN_DEV>(inPara);
    EIS_LOG_INFO("SpatialNrHigh inPara->waitApFlag = %d\n", in.waitApFlag);
    EIS_LOG_INFO("SpatialNrHigh paramHighLevelIn.globalMotionState [%d]\n", in.globalMotionState);

    const ST_DN_PARAMS_NEW& wire = in.stDNParams;
    dn = DnParamsOf(wire);
    EIS_LOG_INFO(
        "SpatialNrHigh inPara->stDNParams.pMaskIIR [%x],inPara->stDNParams.pSpatialChromaNrLUT "
        "[%x],inPara->stDNParams.pIIRImgNum [%x]\n",
        wire.pMaskIIR, wire.pSpatialChromaNrLUT, wire.pIIRImgNum);
    dn.pMaskIIR = convertTo<uint8_t>(wire.pMaskIIR);
    dn.pSpatialChromaNrLUT = convertTo<uint8_t>(wire.pSpatialChromaNrLUT);
    if (!dn.pMaskIIR || !dn.pSpatialChromaNrLUT) return cannotConvert("stDNParams ");
    // The last one is never converted.
    EIS_LOG_INFO(
        "SpatialNrHigh paramHighLevelIn.stDNParams.pMaskIIR [%p],paramHighLevelIn.stDNParams.pSpatialChromaNrLUT "
        "[%p],paramHighLevelIn.stDNParams.pIIRImgNum [%p]\n",
        static_cast<const void*>(dn.pMaskIIR), static_cast<const void*>(dn.pSpatialChromaNrLUT),
        static_cast<void*>(nullptr));
    return retStsOK;
}

ret_status readPicture(DeviceAddress address, ST_PICTURE& picture) {
    const void* outPara = FunConvert2Addr(address);
    if (outPara == nullptr) return cannotConvert("outPara ");
    const ST_PICTURE_DEV wire = loadUnaligned<ST_MULTIDENOISE_PARAMS_OUT_DEV>(outPara).stPicOut;
    EIS_LOG_INFO("SpatialNrHigh width[%d],height[%d],stride[%d]\n", wire.width, wire.height, wire.stride);
    auto* luma = convertTo<uint8_t>(wire.pData[0]);
    auto* chroma1 = convertTo<uint8_t>(wire.pData[1]);
    auto* chroma2 = convertTo<uint8_t>(wire.pData[2]);
    if (!luma || !chroma1 || !chroma2) return cannotConvert("stPicOut ");
    picture = {wire.width, wire.height, wire.stride, {luma, chroma1, chroma2}, wire.format};
    EIS_LOG_INFO(
        "SpatialNrHigh paramHighLevelOut.stPicOut.pData[0][%p],paramHighLevelOut.stPicOut.pData[1][%p],"
        "paramHighLevelOut.stPicOut.pData[2][%p]\n",
        static_cast<void*>(luma), static_cast<void*>(chroma1), static_cast<void*>(chroma2));
    return retStsOK;
}

}  // namespace

}  // namespace eis

using namespace eis;

EIS_EXPORT ret_status SpatialNrHLMain_ACoreApi(const ST_SPATIAL_NR_CALL_BLOCK* blockAddress) {
    EIS_LOG_INFO("enter func %s\n", __func__);
    const auto block = loadUnaligned<ST_SPATIAL_NR_CALL_BLOCK>(blockAddress);
    ST_MULTIDENOISE_PARAMS_IN in{};
    ST_MULTIDENOISE_PARAMS_OUT out{};
    ret_status status = readParams(block.inPara, in.stDNParams);
    if (status == retStsOK) status = readPicture(block.outPara, out.stPicOut);
    if (status != retStsOK) return status;

    EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevelMainCall start\n");
    status = SpatialNrHighLevelMainCall(&in, &out);
    EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevelMainCall end\n");
    // On a picture of a wrong size, too.
    for (int i = 0; i < 3; ++i) FunFlushBuff(out.stPicOut.pData[i]);
    EIS_LOG_INFO("exit func %s\n", __func__);
    return status;
}
