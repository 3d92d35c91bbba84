#include "highLevel/src/SpatialFilter.h"

#include "highLevel/src/band/band_meeting.h"
#include "highLevel/src/chroma/chroma_pass.h"
#include "highLevel/src/luma/luma_pass.h"
#include "libCore/core/source/frame/arithmetic.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/memory.h"

namespace eis {

namespace {

LumaPassParams lumaParams(const ST_NR_BAND_PARAMS& band, const LumaScratch& scratch) {
    const ST_PICTURE& picture = band.stPicOut;
    return {ComputeLumaSettings(band.stMultiDenoiseIn.stDNParams),
            picture.width,
            {picture.height, band.bandTopOverlap, band.bandBottomOverlap},
            {picture.pData[0], band.lumaStart, stride128(picture.width)},
            scratch};
}

// The chroma pass works where luma's sweeps have had their rows.
ChromaPassParams chromaParams(const ST_NR_BAND_PARAMS& band, const LumaScratch& scratch) {
    const ST_PICTURE& picture = band.stPicOut;
    const ST_DN_PARAMS_VA& dn = band.stMultiDenoiseIn.stDNParams;
    const int32_t pitch = stride128(picture.width >> 1);
    ChromaPassParams params{};
    params.family = &kChromaHighLevel;
    params.width = picture.width;
    params.band = {picture.height, band.bandTopOverlap, band.bandBottomOverlap};
    params.planes[0] = {picture.pData[1], band.chromaStart, pitch};
    params.planes[1] = {picture.pData[2], band.chromaStart, pitch};
    params.gradQuarter = scratch.gradQuarter;
    params.chromaS = dn.chromaS;
    params.chromaEdgeLevel = dn.chromaEdgeLevel;
    params.chromaGainIndex = dn.chromaGainIndex;
    params.chromaEdgeAlpha = dn.chromaEdgeAlpha;
    params.pChromaLut = dn.pSpatialChromaNrLUT;
    params.scratch = CutChromaScratch(reinterpret_cast<uint8_t*>(scratch.nrWideTmp), picture.width, picture.height,
                                      kChromaHighLevel);
    return params;
}

ret_status denoiseBand(const ST_NR_BAND_PARAMS& band, const LumaScratch& scratch) {
    const ST_DN_PARAMS_VA& dn = band.stMultiDenoiseIn.stDNParams;
    const LumaPassParams luma = lumaParams(band, scratch);
    SplitLuma(luma);
    SmoothLuma(luma);
    if (dn.chromaNrEnable != 0) {
        const ChromaPassParams chroma = chromaParams(band, scratch);
        const ret_status status = RunChromaPass(chroma);
        CountBands(g_nrBandDone);
        if (status != retStsOK) {
            CountBands(g_nrLumaDone);
            return status;
        }
        AwaitBands(g_nrBandDone);
        uint8_t* const planes[2] = {band.stPicOut.pData[1], band.stPicOut.pData[2]};
        WriteChromaBand(chroma, planes);
    }
    if (dn.lumaNrEnable == 0) {
        CountBands(g_nrLumaDone);
        return retStsOK;
    }
    BuildDetailMap(luma);
    // The overlap rows are another band's to write.
    KeepBorderRows(luma);
    CountBands(g_nrLumaDone);
    AwaitBands(g_nrLumaDone);
    MergeLuma(luma, band.stPicOut.pData[0]);
    return retStsOK;
}

}  // namespace

ret_status SpatialNrHighLevelNew(ST_MULTIDENOISE_PARAMS_IN* in, ST_MULTIDENOISE_PARAMS_OUT* out) {
    const ST_PICTURE& picture = out->stPicOut;
    const int32_t width = picture.width;
    const int32_t height = picture.height;
    const LumaScratchSizes sizes = ComputeLumaScratch(width, height);
    const int64_t sparePlane = int64_t{width >> 2} * (height >> 2);
    const Scratch<uint8_t> bytePlanes(sizes.bytePlanes + sparePlane, __func__);
    const Scratch<uint8_t> widePlanes(sizes.widePlanes, __func__);
    const Scratch<uint8_t> thresholds(sizes.thresholds, __func__);
    const Scratch<uint8_t> lineState(sizes.lineState, __func__);
    if (!bytePlanes || !widePlanes || !thresholds || !lineState) return retStsNoMemory;

    const LumaScratch scratch = CutLumaScratch(bytePlanes.get(), widePlanes.get(), lineState.get(), width, height);
    const ST_NR_BAND_PARAMS whole{*in, picture, 0, 0, 0, 0};
    const LumaPassParams luma = lumaParams(whole, scratch);
    SplitLuma(luma);
    EIS_LOG_INFO("wDiv2 : %d ,hDiv2 : %d, stride : %d \n", width / 2, height / 2, picture.stride);
    SmoothLuma(luma);
    BuildDetailMap(luma);
    if (in->stDNParams.lumaNrEnable != 0) MergeLuma(luma, picture.pData[0]);
    if (in->stDNParams.chromaNrEnable != 0) {
        const ChromaPassParams chroma = chromaParams(whole, scratch);
        const ret_status status = RunChromaPass(chroma);
        if (status != retStsOK) return status;
        uint8_t* const planes[2] = {picture.pData[1], picture.pData[2]};
        WriteChroma(chroma, planes);
    }
    EIS_LOG_INFO("SpatialNrHighLevelNew------------4------------\n");
    return retStsOK;
}

void* SpatialNrHighLevelNew_MultiThread(void* argument) {
    const auto& band = *static_cast<const ST_NR_BAND_PARAMS*>(argument);
    const int32_t width = band.stPicOut.width;
    const int32_t height = band.stPicOut.height;
    const PoolScratch<uint8_t> block(ComputeLumaScratch(width, height).inOneBlock(), __func__);
    ret_status status = retStsNoMemory;
    if (block) {
        status = denoiseBand(band, CutLumaScratch(block.get(), width, height));
    } else {
        EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevelNew_MultiThread memery allocate Error\n");
        CountBands(g_nrBandDone);
        CountBands(g_nrLumaDone);
    }
    return reinterpret_cast<void*>(static_cast<intptr_t>(status));
}

}  // namespace eis
