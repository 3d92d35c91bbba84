#include "tests/denoise/reference_luma.h"

#include <algorithm>
#include <array>

#include "highLevel/src/luma/detail_map.h"
#include "highLevel/src/luma/gradient_planes.h"
#include "highLevel/src/luma/lifting53.h"
#include "highLevel/src/luma/plane_convert.h"
#include "highLevel/src/luma/recursive_filter.h"
#include "highLevel/src/luma/remix_detail.h"
#include "highLevel/src/luma/shrink_band.h"
#include "libCore/core/source/control/shrink_lut.h"
#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/neon/resample/resample_down.h"
#include "libCore/core/source/neon/resample/resample_up.h"

namespace eis::test {

namespace {

using Samples = std::vector<int16_t>;

int row(const ST_DN_PARAMS_VA& dn) {
    return dn.detail < -100 ? 0 : dn.detail <= -79 ? 1 : 2;
}
int mapCentre(const ST_DN_PARAMS_VA& dn) {
    return std::array{200, 150, 130}[row(dn)];
}

void smooth(Samples& wide, int width, int height, int top, int bottom, const ST_DN_PARAMS_VA& dn) {
    const int s = dn.detail * -58;
    const int mix = s < 2720 ? 5000 : s < 5721 ? s + 2280 : 8000;
    Samples table(482);
    BuildRecursiveLut(table.data(), static_cast<int16_t>(std::max(dn.lumaLF, -100) + 100), mix);
    std::vector<int32_t> lines(std::max(width, height));
    RecursiveFilterArgs args{};
    args.pLineState = lines.data();
    args.pFollowH = args.pFollowV = table.data();
    args.pRestore = table.data() + 241;
    args.pDst = wide.data() + static_cast<ptrdiff_t>(top) * width;
    args.pSrc = args.pDst;
    args.srcStride = args.dstStride = width;
    args.width = width / 2;
    args.height = height / 2 - top - bottom;
    RecursiveLLForward_plain(&args);
    RecursiveLLBackward_plain(&args);
}

void shrink(int16_t* band, int stride, const uint8_t* guard, int width, int height, const int16_t* table) {
    const ShrinkBandArgs args{band, stride, guard, width, width, height, table, 50, 614};
    ShrinkDetailBand_plain(&args);
}

Bytes detailMap(const ReferencePicture& picture, const ReferenceBand& band, const ST_DN_PARAMS_VA& dn,
                const Bytes& gradMean) {
    const int width = picture.width;
    const int h = band.height;
    const int qW = width / 4;
    const int qH = h / 4;
    const int pitch = stride128(width);
    const Bytes rows = referenceRows(picture.luma, band.lumaStart, pitch, width, h, pitch);
    Bytes luma(static_cast<size_t>(qW) * qH);
    Bytes quarter(luma.size());
    Bytes map(static_cast<size_t>(width) * h);
    DownScaleBox4x4_plain(rows.data(), h, width, luma.data());
    DownScaleBox2x2_plain(gradMean.data(), width / 2, quarter.data(), width / 2, h / 2);
    const int t = (-100 - dn.detail) * 25;
    GaussRemapPlane_plain(quarter.data(), qW, qW, qH, t < -499 ? 100 : t + 600, mapCentre(dn));
    ScaleByLuma_plain(quarter.data(), luma.data(), qW, qH, std::array{255, 200, 180}[row(dn)]);
    if (dn.lumaMed != 0) {
        Bytes spare(quarter.size());
        Median3x3Separable_plain(quarter.data(), qW, qH, spare.data());
    }
    UpScaleX16_plain(quarter.data(), qH, qW, map.data());
    return map;
}

}  // namespace

ReferenceLuma referenceFilterLuma(const ReferencePicture& picture, const ReferenceBand& band,
                                  const ST_DN_PARAMS_VA& dn) {
    const int width = picture.width;
    const int h = band.height;
    const int hW = width / 2;
    const int hH = h / 2;
    const int pitch = stride128(width);
    const int top = (band.top >> 1) > 1 ? (band.top >> 1) - 1 : 0;
    const int bottom = band.bottom >= 4 ? (band.bottom >> 1) - 1 : 0;
    const Bytes rows = referenceRows(picture.luma, band.lumaStart, pitch, width, h, pitch);
    Samples wide(static_cast<size_t>(width) * h);
    Samples spare(wide.size());
    if (dn.lumaMed != 0) {
        Bytes lines(2 * static_cast<size_t>(width));
        Median3x3ToWide_plain(rows.data(), wide.data(), width, h, pitch, lines.data());
    } else {
        WidenPlane128_plain(rows.data(), wide.data(), width, h);
    }
    Lifting53Forward_plain(wide.data(), width, h, width, spare.data());
    smooth(wide, width, h, top, bottom, dn);

    const ptrdiff_t plane = static_cast<ptrdiff_t>(hW) * hH;
    Bytes gradients(3 * plane);
    GradientPlanes_plain(wide.data(), gradients.data(), hW, hH, width, 10);
    const Bytes mean(gradients.begin() + 2 * plane, gradients.end());
    ReferenceLuma result;
    result.gradQuarter.resize(static_cast<size_t>(width / 4) * (h / 4));
    DownScaleBox2x2_plain(mean.data(), hW, result.gradQuarter.data(), hW, hH);

    Samples table(1024);
    BuildShrinkLut(table.data(), std::max(std::min(dn.lumaHF1, 0), -128) + 128);
    const ptrdiff_t first = static_cast<ptrdiff_t>(top) * width;
    const uint8_t* guard = gradients.data() + static_cast<ptrdiff_t>(top) * hW;
    int16_t* lower = wide.data() + static_cast<ptrdiff_t>(hH) * width;
    shrink(wide.data() + hW + first, width, guard, hW, hH - top - bottom, table.data());
    shrink(lower + first, width, guard + plane, hW, hH - top - bottom, table.data());
    shrink(lower + hW + first, width, guard + 2 * plane, hW, hH - top - bottom, table.data());
    Lifting53Inverse_plain(wide.data(), width, h, width, spare.data());
    result.denoised.resize(wide.size());
    NarrowPlaneSat_plain(wide.data(), result.denoised.data(), width, h);
    result.map = detailMap(picture, band, dn, mean);
    return result;
}

void referenceWriteLuma(const ReferencePicture& picture, const ReferenceBand& band, const ST_DN_PARAMS_VA& dn,
                        const ReferenceLuma& filtered) {
    const int pitch = stride128(picture.width);
    const ptrdiff_t first = static_cast<ptrdiff_t>(band.top) * picture.width;
    const RemixDetailArgs args{picture.luma + (band.lumaStart + int64_t{band.top} * pitch),
                               filtered.denoised.data() + first,
                               filtered.map.data() + first,
                               picture.width,
                               band.height - band.top - band.bottom,
                               pitch,
                               mapCentre(dn),
                               std::array<uint16_t, 3>{128, 102, 76}[row(dn)]};
    RemixDetail_plain(&args);
}

}  // namespace eis::test
