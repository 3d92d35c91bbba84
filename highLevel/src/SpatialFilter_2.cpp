#include "highLevel/src/SpatialFilter_2.h"

#include <unistd.h>

#include "bounded/bounded_memory.h"
#include "libCore/core/source/frame/arithmetic.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/wire.h"

namespace eis {

namespace {

constexpr size_t kChromaTableBytes = 256;
constexpr uint32_t kAllBandsDone = 0xFFFFFFFF;

ChromaPassParams passParams(const ST_NR_CHROMA_BAND_PARAMS& band, const ChromaFamily& family) {
    const int32_t pitch = stride128(band.stride >> 1);
    ChromaPassParams params{};
    params.family = &family;
    params.width = band.width;
    params.band = {band.height, band.bandTopOverlap, band.bandBottomOverlap};
    params.planes[0] = {band.pData1, band.chromaStart, pitch};
    params.planes[1] = {band.pData2, band.chromaStart, pitch};
    params.mask = {band.pMaskIIR, band.maskStart, stride128(band.width)};
    params.chromaS = band.chromaS;
    params.chromaEdgeLevel = band.chromaEdgeLevel;
    params.chromaGainIndex = band.chromaGainIndex;
    params.chromaEdgeAlpha = band.chromaEdgeAlpha;
    params.pChromaLut = band.pSpatialChromaNrLUT;
    SetMotionMask(params, band.iirImgCount);
    params.scratch = CutChromaScratch(band.scratch, band.width, band.height, family);
    return params;
}

ret_status filterPicture(const ChromaCall& call, const ChromaFamily& family) {
    if (call.dn.chromaNrEnable == 0) return retStsOK;
    const ChromaPassParams params = passParams(ChromaBandOf(call), family);
    const ret_status status = RunChromaPass(params);
    if (status != retStsOK) return status;
    uint8_t* const planes[2] = {call.pData1, call.pData2};
    WriteChroma(params, planes);
    FunFlushBuff(call.pData1);
    FunFlushBuff(call.pData2);
    return retStsOK;
}

ret_status filterBand(const ST_NR_CHROMA_BAND_PARAMS& band, const ChromaFamily& family) {
    if (band.chromaNrEnable == 0) return retStsOK;
    const ChromaPassParams params = passParams(band, family);
    const ret_status status = RunChromaPass(params);
    MarkBandDone(*band.bandDoneFlags, band.bandIndex);
    if (status != retStsOK) return status;
    while (band.bandDoneFlags->load(std::memory_order_acquire) != kAllBandsDone) usleep(1);
    uint8_t* const planes[2] = {band.pData1, band.pData2};
    WriteChromaBand(params, planes);
    return retStsOK;
}

void* threadResult(ret_status status) {
    return reinterpret_cast<void*>(static_cast<intptr_t>(status));
}

}  // namespace

void MarkBandDone(std::atomic<uint32_t>& bandDoneFlags, int bandIndex) {
    bandDoneFlags.fetch_or(0xFFu << 8 * bandIndex, std::memory_order_release);
}

bool ConvertChromaCall(const ST_DN_PARAMS_NEW* stDNParams, int width, int height, int stride, uint32_t pData1,
                       uint32_t pData2, uint8_t* scratch, ChromaCall& call) {
    const auto wire = loadUnaligned<ST_DN_PARAMS_NEW>(stDNParams);
    call = {DnParamsOf(wire), width, height, stride, nullptr, nullptr, scratch};
    call.dn.pSpatialChromaNrLUT = convertTo<uint8_t>(wire.pSpatialChromaNrLUT);
    call.dn.pMaskIIR = convertTo<uint8_t>(wire.pMaskIIR);
    call.pData1 = convertTo<uint8_t>(pData1);
    call.pData2 = convertTo<uint8_t>(pData2);
    if (scratch != nullptr && call.dn.pSpatialChromaNrLUT != nullptr && call.dn.pMaskIIR != nullptr &&
        call.pData1 != nullptr && call.pData2 != nullptr) {
        return true;
    }
    EIS_LOG_INFO("denoiseBuf2 | pData1 | pData2 |  pSpatialChromaNrLUT |pMaskIIR  's  FunConvert2Addr failed");
    return false;
}

PoolScratch<uint8_t> CopyChromaTable(const uint8_t* table, const char* name) {
    PoolScratch<uint8_t> copy(kChromaTableBytes, name);
    if (copy) {
        memcpy_s(copy.get(), kChromaTableBytes, table, kChromaTableBytes);
    } else {
        EIS_LOG_ERROR("iMALLOC_POOL for pSpatialChromaNrLUT_ARM failed!");
    }
    return copy;
}

ST_NR_CHROMA_BAND_PARAMS ChromaBandOf(const ChromaCall& call) {
    const ST_DN_PARAMS_VA& dn = call.dn;
    return {dn.pMaskIIR,
            dn.iirImgCount,
            dn.chromaS,
            dn.detail,
            dn.pSpatialChromaNrLUT,
            dn.pIIRImgNum,
            dn.lumaNrEnable,
            dn.chromaNrEnable,
            dn.dnReserved50,
            dn.dnReserved54,
            dn.dnReserved58,
            dn.chromaEdgeLevel,
            dn.dnReserved63,
            dn.chromaGainIndex,
            dn.chromaEdgeAlpha,
            call.width,
            call.height,
            call.stride,
            call.pData1,
            call.pData2,
            call.scratch,
            0,
            0,
            nullptr,
            nullptr,
            0,
            0,
            0};
}

ret_status SpatialNrHighLevelNew_2(ST_DN_PARAMS_NEW* stDNParams, int width, int height, int stride, uint32_t pData1,
                                   uint32_t pData2, uint8_t* scratch, int /*memSize*/) {
    ChromaCall call{};
    if (!ConvertChromaCall(stDNParams, width, height, stride, pData1, pData2, scratch, call)) return retStsBadAddress;
    const ret_status status = filterPicture(call, kChromaHighLevel);
    if (status != retStsOK) return status;
    EIS_LOG_INFO("PJ_ ARM SpatialNrHighLevelNew_2 end.\n");
    return retStsOK;
}

ret_status SpatialNrLowLevelNew_2(ST_DN_PARAMS_NEW* stDNParams, int width, int height, int stride, uint32_t pData1,
                                  uint32_t pData2, uint8_t* scratch, int /*memSize*/) {
    ChromaCall call{};
    if (!ConvertChromaCall(stDNParams, width, height, stride, pData1, pData2, scratch, call)) return retStsBadAddress;
    const PoolScratch<uint8_t> table = CopyChromaTable(call.dn.pSpatialChromaNrLUT, __func__);
    if (!table) return retStsNoMemory;
    call.dn.pSpatialChromaNrLUT = table.get();
    return filterPicture(call, kChromaLowLevel);
}

void* SpatialNrHighLevelNew_2_MultiThread(void* band) {
    return threadResult(filterBand(*static_cast<ST_NR_CHROMA_BAND_PARAMS*>(band), kChromaHighLevel));
}

void* SpatialNrLowLevelNew_2_MultiThread(void* band) {
    return threadResult(filterBand(*static_cast<ST_NR_CHROMA_BAND_PARAMS*>(band), kChromaLowLevel));
}

}  // namespace eis
