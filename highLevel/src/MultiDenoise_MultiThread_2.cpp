#include "highLevel/src/MultiDenoise_MultiThread_2.h"

#include "highLevel/src/SpatialFilter_2.h"
#include "libCore/core/source/frame/arithmetic.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/traced_thread.h"

namespace eis {

namespace {

constexpr TraceSite kHighLevelSite{
    "highLevel/src/MultiDenoise_MultiThread",
    "ret_status SpatialNrHighLevel_MultiThread_2(ST_DN_PARAMS_NEW*, int, int, int, uint32_t, uint32_t, uint8_t*, int)"};
constexpr TraceSite kLowLevelSite{
    "highLevel/src/MultiDenoise_MultiThread",
    "ret_status SpatialNrLowLevel_MultiThread_2(ST_DN_PARAMS_NEW*, int, int, int, uint32_t, uint32_t, uint8_t*, int)"};

// Starts the worker on the four bands of the call, each with its part of the scratch, and joins them.
ret_status runBands(const ChromaCall& call, ThreadFunction worker, const TraceSite& site) {
    const NrBandGeometry geometry = ComputeNrBands(call.height);
    const int32_t pitch = stride128(call.stride >> 1);
    ChromaBarrier barrier;
    ST_NR_CHROMA_BAND_PARAMS bands[kNrBands];
    uint8_t* scratch = call.scratch;
    for (int k = 0; k < kNrBands; ++k) {
        const NrBand& cut = geometry.bands[k];
        ST_NR_CHROMA_BAND_PARAMS& band = bands[k];
        band = ChromaBandOf(call);
        band.height = cut.height;
        band.scratch = scratch;
        band.bandTopOverlap = cut.bandTopOverlap;
        band.bandBottomOverlap = cut.bandBottomOverlap;
        band.bandDoneFlags = &barrier.bandDoneFlags;
        band.bandRunFlag = &barrier.bandRunFlag;
        band.bandIndex = k;
        band.maskStart = geometry.maskStart(k, call.stride);
        band.chromaStart = geometry.chromaStart(k, pitch);
        scratch += chromaBandScratchSize(call.width, cut.height);
    }

    barrier.bandRunFlag = 1;
    ThreadGroup<kNrBands> group(site);
    bool started[kNrBands];
    bool allStarted = true;
    for (int k = 0; k < kNrBands; ++k) {
        started[k] = group.start(worker, &bands[k]);
        allStarted = allStarted && started[k];
    }
    if (!allStarted) {
        EIS_LOG_ERROR("%s", "Thread Create Error!");
        // The bands that run wait for all four: the stage stands in for those that do not.
        for (int k = 0; k < kNrBands; ++k) {
            if (!started[k]) MarkBandDone(barrier.bandDoneFlags, k);
        }
        barrier.bandRunFlag = 0;
    }
    group.join();
    if (!allStarted) return retStsThreadError;
    FunFlushBuff(call.pData1);
    FunFlushBuff(call.pData2);
    return retStsOK;
}

}  // namespace

ret_status SpatialNrHighLevel_MultiThread_2(ST_DN_PARAMS_NEW* stDNParams, int width, int height, int stride,
                                            uint32_t pData1, uint32_t pData2, uint8_t* scratch, int memSize) {
    EIS_LOG_INFO("PJ_ ARM SpatialNrHighLevel_MultiThread_2 start.\n");
    if (!usesNrBands(width, height)) {
        return SpatialNrHighLevelNew_2(stDNParams, width, height, stride, pData1, pData2, scratch, memSize);
    }
    ChromaCall call{};
    if (!ConvertChromaCall(stDNParams, width, height, stride, pData1, pData2, scratch, call)) return retStsBadAddress;
    return runBands(call, SpatialNrHighLevelNew_2_MultiThread, kHighLevelSite);
}

ret_status SpatialNrLowLevel_MultiThread_2(ST_DN_PARAMS_NEW* stDNParams, int width, int height, int stride,
                                           uint32_t pData1, uint32_t pData2, uint8_t* scratch, int memSize) {
    if (!usesNrBands(width, height)) {
        return SpatialNrLowLevelNew_2(stDNParams, width, height, stride, pData1, pData2, scratch, memSize);
    }
    ChromaCall call{};
    if (!ConvertChromaCall(stDNParams, width, height, stride, pData1, pData2, scratch, call)) return retStsBadAddress;
    const PoolScratch<uint8_t> table = CopyChromaTable(call.dn.pSpatialChromaNrLUT, __func__);
    if (!table) return retStsNoMemory;
    call.dn.pSpatialChromaNrLUT = table.get();
    return runBands(call, SpatialNrLowLevelNew_2_MultiThread, kLowLevelSite);
}

}  // namespace eis
