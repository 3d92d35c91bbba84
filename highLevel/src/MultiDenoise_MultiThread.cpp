#include "highLevel/src/MultiDenoise_MultiThread.h"

#include <bit>

#include "highLevel/src/SpatialFilter.h"
#include "highLevel/src/band/band_meeting.h"
#include "highLevel/src/band/nr_bands.h"
#include "libCore/core/source/frame/band_threads.h"
#include "libCore/core/source/frame/log.h"

namespace eis {

namespace {

constexpr TraceSite kSite{
    "highLevel/src/MultiDenoise_MultiThread",
    "ret_status SpatialNrHighLevel_MultiThread(ST_MULTIDENOISE_PARAMS_IN*, ST_MULTIDENOISE_PARAMS_OUT*)"};
constexpr int32_t kMinSize = 128;

}  // namespace

ret_status SpatialNrHighLevel_MultiThread(ST_MULTIDENOISE_PARAMS_IN* in, ST_MULTIDENOISE_PARAMS_OUT* out) {
    if (!usesNrBands(out->stPicOut.width, out->stPicOut.height)) {
        EIS_LOG_INFO("SpatialNrHigh input image size is small, single thread start\n");
        return SpatialNrHighLevelNew(in, out);
    }
    EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevel_MultiThread multithread parameter set\n");
    const ST_NR_BAND_PARAMS whole = WholePicture(in->stDNParams, out->stPicOut);
    ST_NR_BAND_PARAMS bands[kBands];
    for (int k = 0; k < kBands; ++k) bands[k] = CutBand(whole, k);

    EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevel_MultiThread process init\n");
    if (!BeginBands()) {
        EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevel_MultiThread Init Error\n");
        return retStsThreadError;
    }

    EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevel_MultiThread process start\n");
    const bool allStarted = runBands(bands, SpatialNrHighLevelNew_MultiThread, kSite, [](uint32_t missing) {
        if (missing == 0) {
            EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevel_MultiThread process join\n");
            return;
        }
        EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevel_MultiThread Create Error\n");
        // The bands that run wait for all four: the stage stands in for those that do not.
        for (auto* counter : {&g_nrBandDone, &g_nrLumaDone}) CountBands(*counter, std::popcount(missing));
    });
    EndBands();
    if (!allStarted) return retStsThreadError;
    EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevel_MultiThread process end\n");
    return retStsOK;
}

ret_status SpatialNrHighLevelMainCall(ST_MULTIDENOISE_PARAMS_IN* in, ST_MULTIDENOISE_PARAMS_OUT* out) {
    ST_PICTURE& picture = out->stPicOut;
    if (picture.width < kMinSize || picture.height < kMinSize) {
        EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevelMainCall pic size error ret = %d\n", retStsBadAddress);
        return retStsBadAddress;
    }
    picture.stride = picture.width;
    EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevel_MultiThread start\n");
    const ret_status status = SpatialNrHighLevel_MultiThread(in, out);
    EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevel_MultiThread end\n");
    return status;
}

}  // namespace eis
