#include "highLevel/src/SpatialFilter_2.h"

#include <unistd.h>

#include <utility>

#include "bounded/bounded_memory.h"
#include "libCore/core/source/frame/band_threads.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/wire.h"

namespace eis {

namespace {

constexpr size_t kChromaTableBytes = 256;
constexpr uint32_t kAllBandsDone = 0xFFFFFFFF;

ChromaPassParams passParams(const ST_NR_CHROMA_BAND_PARAMS& band, const ChromaFamily& family) {
    return {band, family, CutChromaScratch(band.scratch, band, family), nullptr};
}

ret_status filterPicture(const ConvertedChromaCall& call, const ChromaFamily& family) {
    if (call.status != retStsOK || call.whole.stDNParams.chromaNrEnable == 0) return call.status;
    const ChromaPassParams params = passParams(call.whole, family);
    const ret_status status = RunChromaPass(params);
    if (status != retStsOK) return status;
    WriteChroma(params);
    for (const BandPlane& plane : call.whole.chroma) FunFlushBuff(plane.plane);
    return retStsOK;
}

ret_status filterBand(const ST_NR_CHROMA_BAND_PARAMS& band, const ChromaFamily& family) {
    if (band.stDNParams.chromaNrEnable == 0) return retStsOK;
    const ChromaPassParams params = passParams(band, family);
    const ret_status status = RunChromaPass(params);
    MarkBandDone(*band.bandDoneFlags, band.bandIndex);
    if (status != retStsOK) return status;
    while (band.bandDoneFlags->load(std::memory_order_acquire) != kAllBandsDone) usleep(1);
    WriteChroma(params);
    return retStsOK;
}

}  // namespace

void MarkBandDone(std::atomic<uint32_t>& bandDoneFlags, int bandIndex) {
    bandDoneFlags.fetch_or(0xFFu << 8 * bandIndex, std::memory_order_release);
}

ConvertedChromaCall ConvertChromaCall(const ChromaCall& call, const char* tableKeeper) {
    const auto wire = loadUnaligned<ST_DN_PARAMS_NEW>(call.stDNParams);
    ST_DN_PARAMS_VA dn = DnParamsOf(wire);
    dn.pSpatialChromaNrLUT = convertTo<uint8_t>(wire.pSpatialChromaNrLUT);
    dn.pMaskIIR = convertTo<uint8_t>(wire.pMaskIIR);
    auto* pData1 = convertTo<uint8_t>(call.pData1);
    auto* pData2 = convertTo<uint8_t>(call.pData2);
    if (!call.scratch || !dn.pSpatialChromaNrLUT || !dn.pMaskIIR || !pData1 || !pData2) {
        EIS_LOG_INFO("denoiseBuf2 | pData1 | pData2 |  pSpatialChromaNrLUT |pMaskIIR  's  FunConvert2Addr failed");
        return {retStsBadAddress, {}, {}};
    }
    PoolScratch<uint8_t> table =
        tableKeeper ? PoolScratch<uint8_t>(kChromaTableBytes, tableKeeper) : PoolScratch<uint8_t>();
    if (tableKeeper) {
        if (!table) {
            EIS_LOG_ERROR("iMALLOC_POOL for pSpatialChromaNrLUT_ARM failed!");
            return {retStsNoMemory, {}, {}};
        }
        memcpy_s(table.get(), kChromaTableBytes, dn.pSpatialChromaNrLUT, kChromaTableBytes);
        dn.pSpatialChromaNrLUT = table.get();
    }
    const ST_PICTURE picture{call.width, call.height, call.stride, {nullptr, pData1, pData2}, 0};
    return {retStsOK, {WholePicture(dn, picture), call.scratch, nullptr, 0}, std::move(table)};
}

// NOLINTNEXTLINE(readability-function-size): the signature is given.
ret_status SpatialNrHighLevelNew_2(ST_DN_PARAMS_NEW* stDNParams, int width, int height, int stride, uint32_t pData1,
                                   uint32_t pData2, uint8_t* scratch, int /*memSize*/) {
    const ret_status status = filterPicture(
        ConvertChromaCall({stDNParams, width, height, stride, pData1, pData2, scratch}), kChromaHighLevel);
    if (status != retStsOK) return status;
    EIS_LOG_INFO("PJ_ ARM SpatialNrHighLevelNew_2 end.\n");
    return retStsOK;
}

// NOLINTNEXTLINE(readability-function-size): the signature is given.
ret_status SpatialNrLowLevelNew_2(ST_DN_PARAMS_NEW* stDNParams, int width, int height, int stride, uint32_t pData1,
                                  uint32_t pData2, uint8_t* scratch, int /*memSize*/) {
    return filterPicture(ConvertChromaCall({stDNParams, width, height, stride, pData1, pData2, scratch}, __func__),
                         kChromaLowLevel);
}

void* SpatialNrHighLevelNew_2_MultiThread(void* band) {
    return threadResult(filterBand(*static_cast<ST_NR_CHROMA_BAND_PARAMS*>(band), kChromaHighLevel));
}

void* SpatialNrLowLevelNew_2_MultiThread(void* band) {
    return threadResult(filterBand(*static_cast<ST_NR_CHROMA_BAND_PARAMS*>(band), kChromaLowLevel));
}

}  // namespace eis
