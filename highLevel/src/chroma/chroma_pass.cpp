#include "highLevel/src/chroma/chroma_pass.h"

#include <algorithm>

#include "highLevel/src/chroma/chroma_edges.h"
#include "highLevel/src/chroma/chroma_gain.h"
#include "libCore/core/source/frame/arithmetic.h"
#include "libCore/core/source/neon/mask/mask_morphology.h"
#include "libCore/core/source/neon/resample/binomial3x3.h"
#include "libCore/core/source/neon/resample/resample_up.h"

namespace eis {

const ChromaFamily kChromaHighLevel{2048, WaveletMaskMap, false};
const ChromaFamily kChromaLowLevel{1228, WaveletMotionMap, true};

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
    if (params.gradQuarter != nullptr && params.band.stDNParams.chromaEdgeLevel > kLumaEdgesAbove) {
        SatAddPlane(s.edgeMap, params.gradQuarter, width, height);
    }
}

// Bits of the motion mask's values.
int32_t maskBits(uint8_t iirImgCount) {
    return iirImgCount == 2 ? 5 : iirImgCount <= 4 ? 6 : iirImgCount <= 8 ? 7 : 8;
}

ST_WAVELET_DN_PARAMS waveletParams(const ChromaPassParams& params, int width, int height) {
    constexpr uint8_t kMaskWeights[] = {24, 50, 101, 204};
    const ST_DN_PARAMS_VA& dn = params.band.stDNParams;
    const ChromaScratch& s = params.scratch;
    const EdgeWindow window = ComputeEdgeWindow(dn.chromaS, params.family.chromaBase);
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
    wavelet.satGain = satGainOf(dn.chromaS);
    wavelet.shrinkHigh = kShrinkHigh;
    wavelet.pThresholds = s.pThresholds;
    wavelet.pWork = s.pWork;
    wavelet.pChromaLut = dn.pSpatialChromaNrLUT;
    wavelet.pFirstLevel = s.pFirstLevel;
    if (params.family.usesMask) {
        wavelet.pMaskQuarter = s.maskQuarter;
        wavelet.levelShift = maskBits(dn.iirImgCount);
        wavelet.maskWeight = kMaskWeights[wavelet.levelShift - 5];
    }
    return wavelet;
}

// The core rows of a band at quarter scale.
struct CoreRows {
    int first;
    int count;

    explicit CoreRows(const ST_NR_BAND_PARAMS& band)
        : first(band.bandTopOverlap >> 2), count((band.coreEnd() - band.bandTopOverlap) >> 2) {}
};

}  // namespace

EdgeWindow ComputeEdgeWindow(int32_t chromaS, int32_t chromaBase) {
    const int32_t strength = wrapMul(chromaS, 10);
    if (strength < -620) return {0, 30, 15};
    if (strength >= -394) return {chromaBase, 255, 127};
    const auto high = static_cast<uint8_t>(strength - 118);
    return {high == 30 ? 0 : chromaBase, high, static_cast<uint8_t>(high >> 1)};
}

ChromaScratch CutChromaScratch(uint8_t* block, const ST_NR_BAND_PARAMS& band, const ChromaFamily& family) {
    const int64_t plane = int64_t{band.width >> 2} * (band.height >> 2);
    // The wide planes stand on a grid of their own, equal to the plane's size when width and height are multiples of 4.
    const int64_t wide = (int64_t{band.width} * band.height) >> 4;
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

ret_status RunChromaPass(const ChromaPassParams& params) {
    const ST_NR_BAND_PARAMS& band = params.band;
    const ST_DN_PARAMS_VA& dn = band.stDNParams;
    const ChromaScratch& s = params.scratch;
    const int width = band.width >> 2;
    const int height = band.height >> 2;
    const CoreRows core(band);
    const int rowFirst = std::max(core.first - 1, 0);
    const int rowEnd = std::min(core.first + core.count + 1, height);
    uint8_t* quarter[2] = {s.uQuarter, s.vQuarter};
    uint8_t* denoised[2] = {s.uQuarterDn, s.vQuarterDn};
    // Until the wavelet runs, its planes are free.
    auto* spare = reinterpret_cast<uint8_t*>(s.pSamples);
    for (int i = 0; i < 2; ++i) DownScaleBand2x2(band.chroma[i], band.width / 2, band.height / 2, quarter[i], spare);
    buildEdgeMap(params, width, height);
    if (params.family.usesMask) DownScaleBand4x4(band.mask, band.width, band.height, s.maskQuarter, spare);

    const ST_WAVELET_DN_PARAMS wavelet = waveletParams(params, width, height);
    params.family.buildMap(wavelet);
    const WaveletWork rings{s.pSamples, int64_t{kWideSamplePlanes} * width * height};
    for (int i = 0; i < 2; ++i) {
        WaveletDenoiseBytes(wavelet, i + 1, {quarter[i], denoised[i], rowFirst, rowEnd}, rings);
    }

    const ret_status status = MaskBinarizeDilate_r3(s.edgeMap, width, height, kEdgeThreshold, s.smoothing);
    if (status != retStsOK) return status;
    const auto alpha = static_cast<uint8_t>(std::clamp(dn.chromaEdgeAlpha, 0, 255));
    const int64_t from = int64_t{width} * rowFirst;
    const uint8_t* firstLevel = s.pFirstLevel + from;
    uint8_t* u = s.uQuarterDn + from;
    uint8_t* v = s.vQuarterDn + from;
    const int rows = rowEnd - rowFirst;
    const EdgeBlendArgs blend{firstLevel, firstLevel + int64_t{width} * height, u, v, s.edgeMap + from, width, rows,
                              alpha};
    EdgeBlendChroma(&blend);
    const bool weaker = dn.chromaEdgeLevel >= kWeakerGainFrom;
    ChromaGainLut(u, v, width, rows, wrapSub(dn.chromaGainIndex, weaker ? 1 : 0));
    return retStsOK;
}

void WriteChroma(const ChromaPassParams& params) {
    const ST_NR_BAND_PARAMS& band = params.band;
    const CoreRows core(band);
    const bool isFirst = band.bandTopOverlap == 0;
    const bool isLast = band.bandBottomOverlap == 0;
    const auto upScale = isFirst && isLast ? UpScaleX4_neon
                         : isFirst         ? UpScaleX4_TopBand_neon
                         : isLast          ? UpScaleX4_BottomBand_neon
                                           : UpScaleX4_MidBand_neon;
    const uint8_t* denoised[2] = {params.scratch.uQuarterDn, params.scratch.vQuarterDn};
    const int width = band.width >> 2;
    for (int i = 0; i < 2; ++i) {
        const BandPlane& plane = band.chroma[i];
        upScale(denoised[i] + int64_t{width} * core.first, core.count, width, plane.pitch,
                plane.row(band.bandTopOverlap >> 1));
    }
}

}  // namespace eis
