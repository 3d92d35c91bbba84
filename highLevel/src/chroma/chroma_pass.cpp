#include "highLevel/src/chroma/chroma_pass.h"

#include <algorithm>

#include "highLevel/src/chroma/chroma_edges.h"
#include "highLevel/src/chroma/chroma_gain.h"
#include "libCore/core/source/frame/arithmetic.h"
#include "libCore/core/source/neon/mask/mask_morphology.h"
#include "libCore/core/source/neon/resample/binomial3x3.h"
#include "libCore/core/source/neon/resample/resample_up.h"

namespace eis {

const ChromaFamily kChromaHighLevel{2048, WaveletMaskMap_neon, false};
const ChromaFamily kChromaLowLevel{1228, WaveletMotionMap_neon, true};

namespace {

constexpr int16_t kShrinkLow = 76;
constexpr int16_t kShrinkHigh = 327;
constexpr uint8_t kEdgeThreshold = 50;
constexpr int kLumaEdgesAbove = 64;
constexpr int kWeakerGainFrom = 201;

// 0.4 of the strength above its least.
uint16_t satGainOf(int32_t chromaS) {
    const auto strength = static_cast<uint8_t>(wrapAdd(chromaS, 100));
    return static_cast<uint16_t>(static_cast<float>(strength) * 0.4F);
}

void buildEdgeMap(const ChromaPassParams& params, int width, int height) {
    const ChromaScratch& s = params.scratch;
    ChromaMagnitude(s.uQuarter, s.vQuarter, s.magnitude, width, height, width);
    Binomial3x3(s.magnitude, s.magnitude, s.smoothing, width, height, width, width, width);
    SobelMagnitude(s.magnitude, s.edgeMap, width, height, width, width);
    if (params.gradQuarter != nullptr && params.chromaEdgeLevel > kLumaEdgesAbove) {
        SatAddPlane(s.edgeMap, params.gradQuarter, width, height);
    }
}

ST_WAVELET_DN_PARAMS waveletParams(const ChromaPassParams& params, int width, int height) {
    const ChromaScratch& s = params.scratch;
    const EdgeWindow window = ComputeEdgeWindow(params.chromaS, params.family->chromaBase);
    ST_WAVELET_DN_PARAMS wavelet{};
    wavelet.pSamples = s.pSamples;
    wavelet.sampleStride = width;
    wavelet.pEdgeMap = s.edgeMap;
    wavelet.width = width;
    wavelet.height = height;
    wavelet.chromaThrBase = window.chromaThrBase;
    wavelet.edgeHigh = window.edgeHigh;
    wavelet.edgeLow = window.edgeLow;
    wavelet.shrinkLow = kShrinkLow;
    wavelet.satGain = satGainOf(params.chromaS);
    wavelet.shrinkHigh = kShrinkHigh;
    wavelet.pThresholds = s.pThresholds;
    wavelet.pWork = s.pWork;
    wavelet.pChromaLut = params.pChromaLut;
    wavelet.pMaskQuarter = params.family->usesMask ? s.maskQuarter : nullptr;
    wavelet.levelShift = params.levelShift;
    wavelet.maskWeight = params.family->usesMask ? params.maskWeight : uint8_t{0};
    wavelet.pFirstLevel = s.pFirstLevel;
    return wavelet;
}

struct Rows {
    int first;
    int count;
};
// The core rows of a band at quarter scale.
Rows coreRows(const NrBand& band) {
    return {band.bandTopOverlap >> 2, band.coreHeight() >> 2};
}

}  // namespace

EdgeWindow ComputeEdgeWindow(int32_t chromaS, int32_t chromaBase) {
    const int32_t strength = wrapMul(chromaS, 10);
    if (strength < -620) return {0, 30, 15};
    if (strength >= -394) return {chromaBase, 255, 127};
    const auto high = static_cast<uint8_t>(strength - 118);
    return {high == 30 ? 0 : chromaBase, high, static_cast<uint8_t>(high >> 1)};
}

ChromaScratch CutChromaScratch(uint8_t* block, int32_t width, int32_t height, const ChromaFamily& family) {
    const int64_t plane = int64_t{width >> 2} * (height >> 2);
    // The wide planes stand on a grid of their own, equal to the plane's size when width and height are multiples of 4.
    const int64_t wide = (int64_t{width} * height) >> 4;
    const int64_t afterMask = family.usesMask ? 6 : 5;
    const auto at = [&](int64_t planes) { return block + planes * plane; };
    return {at(0),
            at(1),
            at(2),
            at(3),
            at(4),
            family.usesMask ? at(5) : nullptr,
            at(afterMask),
            at(afterMask + 1),
            at(afterMask + 2),
            reinterpret_cast<uint16_t*>(block + 10 * wide),
            reinterpret_cast<int16_t*>(block + 12 * wide),
            reinterpret_cast<int16_t*>(block + 20 * wide)};
}

void SetMotionMask(ChromaPassParams& params, uint8_t iirImgCount) {
    struct Depth {
        int32_t levelShift;
        uint8_t maskWeight;
    };
    const Depth depth = iirImgCount == 2   ? Depth{5, 24}
                        : iirImgCount <= 4 ? Depth{6, 50}
                        : iirImgCount <= 8 ? Depth{7, 101}
                                           : Depth{8, 204};
    params.levelShift = depth.levelShift;
    params.maskWeight = depth.maskWeight;
}

ret_status RunChromaPass(const ChromaPassParams& params) {
    const ChromaScratch& s = params.scratch;
    const int width = params.width >> 2;
    const int height = params.band.height >> 2;
    const Rows core = coreRows(params.band);
    const int rowFirst = std::max(core.first - 1, 0);
    const int rowEnd = std::min(core.first + core.count + 1, height);
    uint8_t* quarter[2] = {s.uQuarter, s.vQuarter};
    uint8_t* denoised[2] = {s.uQuarterDn, s.vQuarterDn};
    // Until the wavelet runs, its planes are free.
    auto* spare = reinterpret_cast<uint8_t*>(s.pSamples);
    for (int i = 0; i < 2; ++i) {
        DownScaleBand2x2(params.planes[i], params.width / 2, params.band.height / 2, quarter[i], spare);
    }
    buildEdgeMap(params, width, height);
    if (params.family->usesMask) DownScaleBand4x4(params.mask, params.width, params.band.height, s.maskQuarter, spare);

    const ST_WAVELET_DN_PARAMS wavelet = waveletParams(params, width, height);
    params.family->buildMap(wavelet);
    const WaveletWork rings{s.pSamples, int64_t{kWideSamplePlanes} * width * height};
    for (int i = 0; i < 2; ++i) {
        WaveletDenoiseBytes_neon(wavelet, i + 1, {quarter[i], denoised[i], rowFirst, rowEnd}, rings);
    }

    const ret_status status = MaskBinarizeDilate_r3(s.edgeMap, width, height, kEdgeThreshold, s.smoothing);
    if (status != retStsOK) return status;
    const auto alpha = static_cast<uint8_t>(std::clamp(params.chromaEdgeAlpha, 0, 255));
    const int64_t from = int64_t{width} * rowFirst;
    const uint8_t* firstLevel = s.pFirstLevel + from;
    uint8_t* u = s.uQuarterDn + from;
    uint8_t* v = s.vQuarterDn + from;
    const int rows = rowEnd - rowFirst;
    const EdgeBlendArgs blend{firstLevel, firstLevel + int64_t{width} * height, u, v, s.edgeMap + from, width, rows,
                              alpha};
    EdgeBlendChroma(&blend);
    const bool weaker = params.chromaEdgeLevel >= kWeakerGainFrom;
    ChromaGainLut(u, v, width, rows, wrapSub(params.chromaGainIndex, weaker ? 1 : 0));
    return retStsOK;
}

void WriteChroma(const ChromaPassParams& params, uint8_t* const planes[2]) {
    const uint8_t* denoised[2] = {params.scratch.uQuarterDn, params.scratch.vQuarterDn};
    for (int i = 0; i < 2; ++i) {
        UpScaleX4_neon(denoised[i], params.band.height >> 2, params.width >> 2, params.planes[i].pitch, planes[i]);
    }
}

void WriteChromaBand(const ChromaPassParams& params, uint8_t* const planes[2]) {
    const NrBand& band = params.band;
    const Rows core = coreRows(band);
    const auto upScale = band.bandTopOverlap == 0      ? UpScaleX4_TopBand_neon
                         : band.bandBottomOverlap == 0 ? UpScaleX4_BottomBand_neon
                                                       : UpScaleX4_MidBand_neon;
    const uint8_t* denoised[2] = {params.scratch.uQuarterDn, params.scratch.vQuarterDn};
    const int width = params.width >> 2;
    const int64_t from = int64_t{width} * core.first;
    for (int i = 0; i < 2; ++i) {
        const int32_t pitch = params.planes[i].pitch;
        const int64_t to = params.planes[i].start + int64_t{pitch} * (band.bandTopOverlap >> 1);
        upScale(denoised[i] + from, core.count, width, pitch, planes[i] + to);
    }
}

}  // namespace eis
