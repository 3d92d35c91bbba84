#include "highLevel/src/luma_pass.h"

#include <algorithm>
#include <cstring>

#include "highLevel/src/detail_map.h"
#include "highLevel/src/gradient_planes.h"
#include "highLevel/src/lifting53.h"
#include "highLevel/src/plane_convert.h"
#include "highLevel/src/recursive_filter.h"
#include "highLevel/src/remix_detail.h"
#include "highLevel/src/shrink_band.h"
#include "libCore/core/source/arithmetic.h"
#include "libCore/core/source/neon/resample_down.h"
#include "libCore/core/source/neon/resample_up.h"
#include "libCore/core/source/shrink_lut.h"

namespace eis {

namespace {

constexpr int kGradientThreshold = 10;
constexpr int32_t kGuardLimit = 50;
constexpr uint16_t kTopMix = 614;
constexpr int64_t kShrinkLutEntries = 1024;
// Room to align parts of a block in.
constexpr uintptr_t kAlignment = 16;
constexpr int64_t kWideSlack = 32;
constexpr int64_t kLineStateSlack = 512;

template <class T>
T* aligned(uint8_t* memory) {
    return reinterpret_cast<T*>((reinterpret_cast<uintptr_t>(memory) + kAlignment - 1) & ~(kAlignment - 1));
}

// Rows of the low band that the smoothing and the shrinkage leave out: all but one of the overlap.
int topRowsLeft(const NrBand& band) {
    return band.bandTopOverlap >> 1 > 1 ? (band.bandTopOverlap >> 1) - 1 : 0;
}
int bottomRowsLeft(const NrBand& band) {
    return band.bandBottomOverlap >= 4 ? (band.bandBottomOverlap >> 1) - 1 : 0;
}

// A plane of its own for a band that starts before the picture's, else where the band stands.
const uint8_t* bandRows(const LumaPassParams& params) {
    const BandSource& source = params.source;
    if (source.start >= 0) return source.plane + source.start;
    auto* copy = reinterpret_cast<uint8_t*>(params.scratch.nrWideTmp);
    CopyBand(source, params.width, params.band.height, copy, source.pitch);
    return copy;
}

void smoothLowBand(const LumaPassParams& params, int top, int rows) {
    const LumaScratch& s = params.scratch;
    int16_t table[2 * kRecursiveLutEntries];
    BuildRecursiveLut(table, params.settings.lfStrength, params.settings.lfMix);
    int16_t* low = s.nrWide + int64_t{top} * params.width;
    const RecursiveFilterArgs args{
        s.nrLineState,    table, table, table + kRecursiveLutEntries, low, params.width, low, params.width,
        params.width / 2, rows};
    RecursiveLLForward(&args);
    RecursiveLLBackward(&args);
}

}  // namespace

LumaSettings ComputeLumaSettings(const ST_DN_PARAMS_VA& dn) {
    LumaSettings settings{};
    settings.median = dn.lumaMed != 0;
    settings.lfStrength = static_cast<int16_t>(int64_t{std::max(dn.lumaLF, -100)} + 100);
    const int32_t texture = wrapMul(dn.detail, -58);
    settings.lfMix = texture < 2720 ? 5000 : texture <= 5720 ? texture + 2280 : 8000;
    settings.hfStrength = std::clamp(dn.lumaHF1, -128, 0) + 128;
    const int32_t spread = wrapMul(wrapSub(-100, dn.detail), 25);
    settings.mapSigma = spread < -499 ? 100 : wrapAdd(spread, 600);
    if (dn.detail < -100) {
        settings.mapCentre = 200;
        settings.mapLumaLimit = 255;
        settings.mapMixGain = 128;
    } else if (dn.detail <= -79) {
        settings.mapCentre = 150;
        settings.mapLumaLimit = 200;
        settings.mapMixGain = 102;
    } else {
        settings.mapCentre = 130;
        settings.mapLumaLimit = 180;
        settings.mapMixGain = 76;
    }
    return settings;
}

int64_t LumaScratchSizes::inOneBlock() const {
    return bytePlanes + widePlanes + lineState + kLineStateSlack + thresholds;
}

LumaScratchSizes ComputeLumaScratch(int32_t width, int32_t height) {
    const int64_t samples = int64_t{width} * height;
    const int64_t quarter = int64_t{width >> 2} * (height >> 2);
    return {2 * samples + 3 * quarter, 4 * samples + 2 * kShrinkLutEntries + kWideSlack,
            int64_t{4} * std::max(width, height), 2 * (samples >> 4)};
}

LumaScratch CutLumaScratch(uint8_t* bytePlanes, uint8_t* widePlanes, uint8_t* lineState, uint8_t* thresholds,
                           int32_t width, int32_t height) {
    const int64_t samples = int64_t{width} * height;
    const int64_t quarter = int64_t{width >> 2} * (height >> 2);
    LumaScratch scratch{};
    scratch.gradPlanes = scratch.detailMap = bytePlanes;
    scratch.gradQuarter = bytePlanes + samples;
    scratch.nrOut = scratch.gradQuarter + quarter;
    scratch.mapQuarter = scratch.nrOut + samples;
    scratch.lumaQuarter = scratch.mapQuarter + quarter;
    scratch.nrWide = aligned<int16_t>(widePlanes);
    scratch.shrinkLut = scratch.nrWide + samples;
    scratch.nrWideTmp = scratch.shrinkLut + kShrinkLutEntries;
    scratch.nrLineState = aligned<int32_t>(lineState);
    scratch.pThresholds = aligned<uint16_t>(thresholds);
    return scratch;
}

LumaScratch CutLumaScratch(uint8_t* block, int32_t width, int32_t height) {
    const LumaScratchSizes sizes = ComputeLumaScratch(width, height);
    uint8_t* widePlanes = block + sizes.bytePlanes;
    uint8_t* lineState = widePlanes + sizes.widePlanes;
    uint8_t* thresholds = lineState + sizes.lineState + kAlignment;
    return CutLumaScratch(block, widePlanes, lineState, thresholds, width, height);
}

void SplitLuma(const LumaPassParams& params) {
    const LumaScratch& s = params.scratch;
    const int width = params.width;
    const int height = params.band.height;
    const uint8_t* rows = bandRows(params);
    if (params.settings.median) {
        // The line state is not used before the smoothing.
        Median3x3ToWide(rows, s.nrWide, width, height, params.source.pitch, reinterpret_cast<uint8_t*>(s.nrLineState));
    } else {
        WidenPlane128(rows, s.nrWide, width, height);
    }
    Lifting53Forward(s.nrWide, width, height, width, s.nrWideTmp);
    const int top = topRowsLeft(params.band);
    smoothLowBand(params, top, height / 2 - top - bottomRowsLeft(params.band));
    GradientPlanes(s.nrWide, s.gradPlanes, width / 2, height / 2, width, kGradientThreshold);
    const uint8_t* gradMean = s.gradPlanes + int64_t{2} * (width / 2) * (height / 2);
    DownScaleBox2x2_neon(gradMean, width / 2, s.gradQuarter, width / 2, height / 2);
}

void MergeLuma(const LumaPassParams& params) {
    const LumaScratch& s = params.scratch;
    const int width = params.width;
    const int height = params.band.height;
    const int halfWidth = width / 2;
    const int halfHeight = height / 2;
    const int top = topRowsLeft(params.band);
    BuildShrinkLut(s.shrinkLut, params.settings.hfStrength);
    // HL, LH, HH, each with a gradient plane of its own.
    int16_t* lower = s.nrWide + int64_t{halfHeight} * width;
    int16_t* const details[3] = {s.nrWide + halfWidth, lower, lower + halfWidth};
    for (int i = 0; i < 3; ++i) {
        const uint8_t* guard = s.gradPlanes + (int64_t{i} * halfHeight + top) * halfWidth;
        const ShrinkBandArgs args{details[i] + int64_t{top} * width,
                                  width,
                                  guard,
                                  halfWidth,
                                  halfWidth,
                                  halfHeight - top - bottomRowsLeft(params.band),
                                  s.shrinkLut,
                                  kGuardLimit,
                                  kTopMix};
        ShrinkDetailBand(&args);
    }
    Lifting53Inverse(s.nrWide, width, height, width, s.nrWideTmp);
    const int64_t core = int64_t{params.band.bandTopOverlap} * width;
    NarrowPlaneSat(s.nrWide + core, s.nrOut + core, width, params.band.coreHeight());
}

void BuildDetailMap(const LumaPassParams& params) {
    const LumaScratch& s = params.scratch;
    const LumaSettings& settings = params.settings;
    const int width = params.width;
    const int height = params.band.height;
    const int mapWidth = width / 4;
    const int mapHeight = height / 4;
    DownScaleBand4x4(params.source, width, height, s.lumaQuarter, reinterpret_cast<uint8_t*>(s.nrWide));
    const uint8_t* gradMean = s.gradPlanes + int64_t{2} * (width / 2) * (height / 2);
    DownScaleBox2x2_neon(gradMean, width / 2, s.mapQuarter, width / 2, height / 2);
    GaussRemapPlane(s.mapQuarter, mapWidth, mapWidth, mapHeight, settings.mapSigma, settings.mapCentre);
    ScaleByLuma(s.mapQuarter, s.lumaQuarter, mapWidth, mapHeight, settings.mapLumaLimit);
    // The map takes the place of the gradients, which are used up.
    if (settings.median) Median3x3Separable(s.mapQuarter, mapWidth, mapHeight, s.detailMap);
    UpScaleX16_neon(s.mapQuarter, mapHeight, mapWidth, s.detailMap);
    // What the map does not reach in a picture off the grid of four.
    const int64_t mapped = int64_t{16} * mapWidth * mapHeight;
    std::memset(s.detailMap + mapped, 0, int64_t{width} * height - mapped);
}

void RemixLuma(const LumaPassParams& params, uint8_t* plane) {
    const LumaScratch& s = params.scratch;
    const int64_t top = params.band.bandTopOverlap;
    const RemixDetailArgs args{plane + (params.source.start + top * params.source.pitch),
                               s.nrOut + top * params.width,
                               s.detailMap + top * params.width,
                               params.width,
                               params.band.coreHeight(),
                               params.source.pitch,
                               params.settings.mapCentre,
                               params.settings.mapMixGain};
    RemixDetail(&args);
}

}  // namespace eis
