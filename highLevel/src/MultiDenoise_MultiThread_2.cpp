#include "highLevel/src/MultiDenoise_MultiThread_2.h"

#include "highLevel/src/SpatialFilter_2.h"
#include "libCore/core/source/frame/band_threads.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/slots.h"

namespace eis {

namespace {

constexpr TraceSite kHighLevelSite{
    "highLevel/src/MultiDenoise_MultiThread",
    "ret_status SpatialNrHighLevel_MultiThread_2(ST_DN_PARAMS_NEW*, int, int, int, uint32_t, uint32_t, uint8_t*, int)"};
constexpr TraceSite kLowLevelSite{
    "highLevel/src/MultiDenoise_MultiThread",
    "ret_status SpatialNrLowLevel_MultiThread_2(ST_DN_PARAMS_NEW*, int, int, int, uint32_t, uint32_t, uint8_t*, int)"};

// Filters the picture in four bands, each with its part of the scratch.
ret_status filterInBands(const ConvertedChromaCall& call, ThreadFunction worker, const TraceSite& site) {
    if (call.status != retStsOK) return call.status;
    std::atomic<uint32_t> bandDoneFlags{0};
    ST_NR_CHROMA_BAND_PARAMS bands[kBands];
    uint8_t* scratch = call.whole.scratch;
    for (int k = 0; k < kBands; ++k) {
        bands[k] = {CutBand(call.whole, k), scratch, &bandDoneFlags, k};
        scratch += chromaBandScratchSize(bands[k].width, bands[k].height);
    }
    const bool allStarted = runBands(bands, worker, site, [&](uint32_t missing) {
        if (missing == 0) return;
        EIS_LOG_ERROR("%s", "Thread Create Error!");
        // The bands that run wait for all four: the stage stands in for those that do not.
        for (int k = 0; k < kBands; ++k) {
            if ((missing >> k & 1) != 0) MarkBandDone(bandDoneFlags, k);
        }
    });
    if (!allStarted) return retStsThreadError;
    for (const BandPlane& plane : call.whole.chroma) FunFlushBuff(plane.plane);
    return retStsOK;
}

}  // namespace

// NOLINTNEXTLINE(readability-function-size): the signature is given.
ret_status SpatialNrHighLevel_MultiThread_2(ST_DN_PARAMS_NEW* stDNParams, int width, int height, int stride,
                                            uint32_t pData1, uint32_t pData2, uint8_t* scratch, int memSize) {
    EIS_LOG_INFO("PJ_ ARM SpatialNrHighLevel_MultiThread_2 start.\n");
    if (!usesNrBands(width, height)) {
        return SpatialNrHighLevelNew_2(stDNParams, width, height, stride, pData1, pData2, scratch, memSize);
    }
    return filterInBands(ConvertChromaCall({stDNParams, width, height, stride, pData1, pData2, scratch}),
                         SpatialNrHighLevelNew_2_MultiThread, kHighLevelSite);
}

// NOLINTNEXTLINE(readability-function-size): the signature is given.
ret_status SpatialNrLowLevel_MultiThread_2(ST_DN_PARAMS_NEW* stDNParams, int width, int height, int stride,
                                           uint32_t pData1, uint32_t pData2, uint8_t* scratch, int memSize) {
    if (!usesNrBands(width, height)) {
        return SpatialNrLowLevelNew_2(stDNParams, width, height, stride, pData1, pData2, scratch, memSize);
    }
    return filterInBands(ConvertChromaCall({stDNParams, width, height, stride, pData1, pData2, scratch}, __func__),
                         SpatialNrLowLevelNew_2_MultiThread, kLowLevelSite);
}

}  // namespace eis
