#include "highLevel/src/MultiDenoise_MultiThread.h"

#include "highLevel/src/SpatialFilter.h"
#include "highLevel/src/band/band_meeting.h"
#include "highLevel/src/band/nr_bands.h"
#include "libCore/core/source/frame/arithmetic.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/traced_thread.h"

namespace eis {

namespace {

constexpr TraceSite kSite{
    "highLevel/src/MultiDenoise_MultiThread",
    "ret_status SpatialNrHighLevel_MultiThread(ST_MULTIDENOISE_PARAMS_IN*, ST_MULTIDENOISE_PARAMS_OUT*)"};
constexpr int32_t kMinSize = 128;

void fillBands(const ST_MULTIDENOISE_PARAMS_IN& in, const ST_PICTURE& picture, ST_NR_BAND_PARAMS* bands) {
    const NrBandGeometry geometry = ComputeNrBands(picture.height);
    for (int k = 0; k < kNrBands; ++k) {
        const NrBand& cut = geometry.bands[k];
        ST_NR_BAND_PARAMS& band = bands[k];
        band.stMultiDenoiseIn.stDNParams = in.stDNParams;
        band.stPicOut = picture;
        band.stPicOut.height = cut.height;
        band.stPicOut.stride = picture.width;
        band.bandTopOverlap = cut.bandTopOverlap;
        band.bandBottomOverlap = cut.bandBottomOverlap;
        band.lumaStart = geometry.lumaStart(k, stride128(picture.width));
        band.chromaStart = geometry.chromaStart(k, stride128(picture.width >> 1));
    }
}

}  // namespace

ret_status SpatialNrHighLevel_MultiThread(ST_MULTIDENOISE_PARAMS_IN* in, ST_MULTIDENOISE_PARAMS_OUT* out) {
    if (!usesNrBands(out->stPicOut.width, out->stPicOut.height)) {
        EIS_LOG_INFO("SpatialNrHigh input image size is small, single thread start\n");
        return SpatialNrHighLevelNew(in, out);
    }
    EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevel_MultiThread multithread parameter set\n");
    ST_NR_BAND_PARAMS bands[kNrBands]{};
    fillBands(*in, out->stPicOut, bands);

    EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevel_MultiThread process init\n");
    if (!BeginBands()) {
        EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevel_MultiThread Init Error\n");
        return retStsThreadError;
    }

    EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevel_MultiThread process start\n");
    ThreadGroup<kNrBands> group(kSite);
    int32_t missing = 0;
    for (ST_NR_BAND_PARAMS& band : bands) {
        if (!group.start(SpatialNrHighLevelNew_MultiThread, &band)) ++missing;
    }
    if (missing > 0) {
        EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevel_MultiThread Create Error\n");
        // The bands that run wait for all four: the stage stands in for those that do not.
        CountBands(g_nrBandDone, missing);
        CountBands(g_nrLumaDone, missing);
        group.join();
        EndBands();
        return retStsThreadError;
    }
    EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevel_MultiThread process join\n");
    group.join();
    EndBands();
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
