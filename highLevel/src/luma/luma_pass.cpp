#include "highLevel/src/luma/luma_pass.h"

#include <algorithm>
#include <cstring>

#include "highLevel/src/luma/detail_map.h"
#include "highLevel/src/luma/remix_detail.h"
#include "libCore/core/source/control/control_curves.h"
#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/neon/resample/resample_up.h"

namespace eis {

namespace {

constexpr int64_t kShrinkLutEntries = 1024;
// Room to align parts of a block in.
constexpr uintptr_t kAlignment = 16;
constexpr int64_t kWideSlack = 32;
constexpr int64_t kLineStateSlack = 512;

// Off the grid of four, the map's rows are shorter than the picture's and run on through them.
bool mapRowsFit(const LumaPassParams& params) {
    return params.band.width % 4 == 0;
}

// A row of the map at full size; rows that it does not reach are 0.
const uint8_t* mapRow(const LumaPassParams& params, int row) {
    const LumaScratch& s = params.scratch;
    const int mapHeight = params.band.height / 4;
    if (!mapRowsFit(params)) return s.detailMap + int64_t{row} * params.band.width;
    if (row < 4 * mapHeight) {
        UpScaleX16Row(s.mapQuarter, mapHeight, params.band.width / 4, row, s.detailMap);
    } else {
        std::memset(s.detailMap, 0, params.band.width);
    }
    return s.detailMap;
}

}  // namespace

LumaSettings ComputeLumaSettings(const ST_DN_PARAMS_VA& dn) {
    LumaSettings settings{};
    settings.median = dn.lumaMed != 0;
    settings.lfStrength = static_cast<int16_t>(int64_t{std::max(dn.lumaLF, -100)} + 100);
    settings.lfMix = LumaGainFromDetail(dn.detail);
    settings.hfStrength = std::clamp(dn.lumaHF1, -128, 0) + 128;
    const int32_t spread = wrapMul(wrapSub(-100, dn.detail), 25);
    settings.mapSigma = spread < -499 ? 100 : wrapAdd(spread, 600);
    settings.map = dn.detail < -100   ? MapSettings{200, 255, 128}
                   : dn.detail <= -79 ? MapSettings{150, 200, 102}
                                      : MapSettings{130, 180, 76};
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

LumaScratch CutLumaScratch(uint8_t* bytePlanes, uint8_t* widePlanes, uint8_t* lineState, int32_t width,
                           int32_t height) {
    const int64_t samples = int64_t{width} * height;
    const int64_t quarter = int64_t{width >> 2} * (height >> 2);
    LumaScratch scratch{};
    scratch.detailMap = bytePlanes;
    scratch.gradQuarter = bytePlanes + samples;
    scratch.border = {scratch.gradQuarter + quarter, width};
    scratch.mapQuarter = scratch.border.rows + samples;
    scratch.lumaQuarter = scratch.mapQuarter + quarter;
    scratch.nrWide = alignedTo<int16_t>(widePlanes, kAlignment);
    scratch.shrinkLut = scratch.nrWide + samples;
    scratch.nrWideTmp = scratch.shrinkLut + kShrinkLutEntries;
    scratch.nrLineState = alignedTo<int32_t>(lineState, kAlignment);
    return scratch;
}

LumaScratch CutLumaScratch(uint8_t* block, int32_t width, int32_t height) {
    const LumaScratchSizes sizes = ComputeLumaScratch(width, height);
    uint8_t* widePlanes = block + sizes.bytePlanes;
    return CutLumaScratch(block, widePlanes, widePlanes + sizes.widePlanes, width, height);
}

RowRange LumaQuarterRows(const ST_NR_BAND_PARAMS& band) {
    constexpr int kReach = 2;  // a median's rows, of rows that others are interpolated from
    // The map's rows, shorter off the grid of four, run on through the picture's: its last row is further down.
    const int64_t coreEnd = int64_t{band.coreEnd()} * band.width / roundDown(band.width, 4);
    return {std::max((band.bandTopOverlap >> 2) - kReach, 0),
            static_cast<int>(std::min<int64_t>(((coreEnd + 3) >> 2) + kReach, band.height >> 2))};
}

void BuildDetailMap(const LumaPassParams& params) {
    const LumaScratch& s = params.scratch;
    const LumaSettings& settings = params.settings;
    const int mapWidth = params.band.width / 4;
    const int mapHeight = params.band.height / 4;
    const RowRange rows = LumaQuarterRows(params.band);
    const int64_t first = int64_t{mapWidth} * rows.begin;
    const int count = rows.end - rows.begin;
    uint8_t* map = s.mapQuarter + first;
    std::memcpy(map, s.gradQuarter + first, int64_t{mapWidth} * count);
    GaussRemapPlane(map, mapWidth, mapWidth, count, settings.mapSigma, settings.map.centre);
    ScaleByLuma(map, s.lumaQuarter + first, mapWidth, count, settings.map.lumaLimit);
    if (settings.median) Median3x3Separable(map, mapWidth, count, s.detailMap);
    if (mapRowsFit(params)) return;
    std::memset(s.mapQuarter, 0, first);
    std::memset(map + int64_t{mapWidth} * count, 0, int64_t{mapWidth} * (mapHeight - rows.end));
    UpScaleX16_neon(s.mapQuarter, mapHeight, mapWidth, s.detailMap);
    const int64_t mapped = int64_t{16} * mapWidth * mapHeight;
    std::memset(s.detailMap + mapped, 0, int64_t{params.band.width} * params.band.height - mapped);
}

void KeepBorderRows(const LumaPassParams& params) {
    const ST_NR_BAND_PARAMS& band = params.band;
    const auto keep = [&](int first, int end, uint8_t* to) {
        const BandSource rows{band.luma.plane, band.luma.start + int64_t{first} * band.luma.pitch, band.luma.pitch};
        CopyBand(rows, band.width, end - first, to, band.width);
    };
    const BorderRows& border = params.scratch.border;
    const int above = std::min(band.bandTopOverlap, BorderRows::kRows);
    keep(band.bandTopOverlap - above, band.bandTopOverlap, border.at(-above));
    keep(band.coreEnd(), std::min(band.coreEnd() + BorderRows::kRows, band.height), border.at(0));
}

void RemixLumaRow(const LumaPassParams& params, int row, const uint8_t* denoised) {
    const BandPlane& luma = params.band.luma;
    const RemixDetailArgs args{luma.row(row),
                               denoised,
                               mapRow(params, row),
                               params.band.width,
                               1,
                               luma.pitch,
                               params.settings.map.centre,
                               params.settings.map.mixGain};
    RemixDetail(&args);
}

}  // namespace eis
