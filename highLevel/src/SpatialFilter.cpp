#include "highLevel/src/SpatialFilter.h"

#include "highLevel/src/band/band_meeting.h"
#include "highLevel/src/chroma/chroma_pass.h"
#include "highLevel/src/luma/luma_pass.h"
#include "libCore/core/source/frame/band_threads.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/memory.h"

namespace eis {

namespace {

// The chroma pass works where luma's sweeps have had their rows.
ChromaPassParams chromaParams(const LumaPassParams& luma) {
    auto* block = reinterpret_cast<uint8_t*>(luma.scratch.nrWideTmp);
    return {luma.band, kChromaHighLevel, CutChromaScratch(block, luma.band, kChromaHighLevel),
            luma.scratch.gradQuarter};
}

ret_status denoiseBand(const LumaPassParams& luma) {
    const ST_DN_PARAMS_VA& dn = luma.band.stDNParams;
    SplitLuma(luma);
    SmoothLuma(luma);
    if (dn.chromaNrEnable != 0) {
        const ChromaPassParams chroma = chromaParams(luma);
        const ret_status status = RunChromaPass(chroma);
        CountBands(g_nrBandDone);
        if (status != retStsOK) {
            CountBands(g_nrLumaDone);
            return status;
        }
        AwaitBands(g_nrBandDone);
        WriteChroma(chroma);
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
    MergeLuma(luma);
    return retStsOK;
}

}  // namespace

ret_status SpatialNrHighLevelNew(ST_MULTIDENOISE_PARAMS_IN* in, ST_MULTIDENOISE_PARAMS_OUT* out) {
    const ST_NR_BAND_PARAMS whole = WholePicture(in->stDNParams, out->stPicOut);
    const int32_t width = whole.width;
    const int32_t height = whole.height;
    const LumaScratchSizes sizes = ComputeLumaScratch(width, height);
    const int64_t sparePlane = int64_t{width >> 2} * (height >> 2);
    const Scratch<uint8_t> bytePlanes(sizes.bytePlanes + sparePlane, __func__);
    const Scratch<uint8_t> widePlanes(sizes.widePlanes, __func__);
    const Scratch<uint8_t> thresholds(sizes.thresholds, __func__);
    const Scratch<uint8_t> lineState(sizes.lineState, __func__);
    if (!bytePlanes || !widePlanes || !thresholds || !lineState) return retStsNoMemory;

    const LumaPassParams luma{whole, ComputeLumaSettings(whole.stDNParams),
                              CutLumaScratch(bytePlanes.get(), widePlanes.get(), lineState.get(), width, height)};
    SplitLuma(luma);
    EIS_LOG_INFO("wDiv2 : %d ,hDiv2 : %d, stride : %d \n", width / 2, height / 2, whole.stride);
    SmoothLuma(luma);
    BuildDetailMap(luma);
    if (whole.stDNParams.lumaNrEnable != 0) MergeLuma(luma);
    if (whole.stDNParams.chromaNrEnable != 0) {
        const ChromaPassParams chroma = chromaParams(luma);
        const ret_status status = RunChromaPass(chroma);
        if (status != retStsOK) return status;
        WriteChroma(chroma);
    }
    EIS_LOG_INFO("SpatialNrHighLevelNew------------4------------\n");
    return retStsOK;
}

void* SpatialNrHighLevelNew_MultiThread(void* argument) {
    const auto& band = *static_cast<const ST_NR_BAND_PARAMS*>(argument);
    const PoolScratch<uint8_t> block(ComputeLumaScratch(band.width, band.height).inOneBlock(), __func__);
    if (!block) {
        EIS_LOG_INFO("SpatialNrHigh SpatialNrHighLevelNew_MultiThread memery allocate Error\n");
        CountBands(g_nrBandDone);
        CountBands(g_nrLumaDone);
        return threadResult(retStsNoMemory);
    }
    return threadResult(denoiseBand(
        {band, ComputeLumaSettings(band.stDNParams), CutLumaScratch(block.get(), band.width, band.height)}));
}

}  // namespace eis
