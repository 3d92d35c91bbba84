// What ships against its definition: the plain forms, one after the other, on planes of their own. Both leave the same
// bytes everywhere.
//
// The first byte chooses the work, the second one the vector unit; sizes, settings and a seed for the contents follow.
#include <hwy/targets.h>

#include <iterator>

#include "fuzz/inline_threads.h"
#include "fuzz/input.h"
#include "highLevel/src/SpatialFilter.h"
#include "highLevel/src/chroma/chroma_edges.h"
#include "highLevel/src/chroma/chroma_gain.h"
#include "highLevel/src/chroma/chroma_pass.h"
#include "highLevel/src/luma/detail_map.h"
#include "highLevel/src/luma/gradient_planes.h"
#include "highLevel/src/luma/lifting53.h"
#include "highLevel/src/luma/luma_pass.h"
#include "highLevel/src/luma/plane_convert.h"
#include "highLevel/src/luma/recursive_filter.h"
#include "highLevel/src/luma/remix_detail.h"
#include "highLevel/src/luma/shrink_band.h"
#include "libCore/core/source/control/control_curves.h"
#include "libCore/core/source/control/shrink_lut.h"
#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/frame/arithmetic.h"
#include "libCore/core/source/neon/ghost/ghost_filter.h"
#include "libCore/core/source/neon/mask/mask_bits.h"
#include "libCore/core/source/neon/mask/mask_morphology.h"
#include "libCore/core/source/neon/resample/binomial3x3.h"
#include "libCore/core/source/neon/resample/resample_down.h"
#include "libCore/core/source/neon/resample/resample_up.h"
#include "libCore/core/source/neon/scale/bilinear_scale.h"
#include "libCore/core/source/neon/scale/mirror_border.h"
#include "libCore/core/source/neon/warp/affine_transform.h"
#include "libCore/core/source/neon/warp/mirror_fill.h"
#include "libCore/core/source/neon/warp/warp_rows.h"
#include "libCore/core/source/registration/ransac_estimation.h"
#include "libCore/core/source/registration/reprojection.h"

extern "C" int __android_log_print(int, const char*, const char*, ...) {
    return 0;
}

namespace {

using namespace eis;
using namespace eisfuzz;

// One of the two that are compared.
struct Form {
    bool plain;
    Input in;
    Memory& planes;  // compared
    Memory& spare;
};

void masks(Form& f) {
    const int width = f.in.side(160);
    const int height = f.in.side(70);
    uint8_t* mask = f.planes.bytes(width * height);
    for (int i = 0; i < width * height; ++i) mask[i] = mask[i] > 127 ? 255 : 0;
    const int kind = f.in.in(0, 2);
    if (!f.plain) {
        constexpr decltype(&QX_IVS_Dilation_Only_r3) kShipped[] = {
            QX_IVS_Dilation_Only_r3, QX_IVS_Dilation_r7_and_Erosion_r3, QX_IVS_Erosion_r3_and_Dilation_r7};
        FUZZ_CHECK(kShipped[kind](mask, width, height) == retStsOK);
        return;
    }
    const int perRow = (width + 31) / 32;
    const int count = perRow * height;
    const int padding = 32 * perRow - width;
    auto* words = f.spare.empty<uint32_t>(count);
    auto* scratch = f.spare.empty<uint32_t>(count);
    IVS_PackBits_plain(mask, words, width, height, count);
    if (kind == 2) IVS_Erosion_r3_plain(words, scratch, height, count, padding);
    (kind == 0 ? IVS_Dilation_r3_plain : IVS_Dilation_r7_plain)(words, scratch, height, count, padding);
    if (kind == 1) IVS_Erosion_r3_plain(words, scratch, height, count, padding);
    IVS_UnpackBits_plain(mask, words, width, height, count);
}

void maskAndGhost(Form& f) {
    const int width = 5 + f.in.side(150);
    const int height = 5 + f.in.side(70);
    const int size = width * height;
    uint8_t* mask = f.planes.bytes(size);
    const auto threshold = f.in.take<uint8_t>();
    FUZZ_CHECK((f.plain ? MaskBinarizeDilate_r3_plain : MaskBinarizeDilate_r3)(
                   mask, width, height, threshold, f.spare.empty<uint8_t>(size)) == retStsOK);
    const uint8_t* a = f.planes.bytes(size);
    const uint8_t* b = f.planes.bytes(size);
    const GhostThresholds thresholds{f.in.in(0, 60), f.in.in(0, 60), f.in.in(0, 255)};
    (f.plain ? GhostFilter_plain : GhostFilter)({a, b, f.spare.empty<int16_t>(size), mask, width, height}, thresholds);
}

void resample(Form& f) {
    const int width = f.in.side(160);
    const int height = f.in.side(100);
    const uint8_t* wide = f.planes.bytes(stride128(width) * height);
    uint8_t* small = f.planes.bytes((width / 4) * (height / 4));
    (f.plain ? DownScaleBox4x4_plain : DownScaleBox4x4_neon)(wide, height, width, small);
    uint8_t* half = f.planes.bytes((width / 2) * (height / 2));
    (f.plain ? DownScaleBox2x2_Stride_plain : DownScaleBox2x2_Stride_neon)(wide, height, width, half);
    if (width < 8 || height < 8) return;
    const int w = width / 4;
    const int h = height / 4;
    const int pitch = 2 * w + f.in.in(0, 9);
    uint8_t* doubled = f.planes.bytes(pitch * (2 * h - 1) + 2 * w);
    (f.plain ? UpScaleX4_plain : UpScaleX4_neon)(small, h, w, pitch, doubled);
    uint8_t* larger = f.planes.bytes(16 * w * h);
    for (int row = 0; row < 4 * h && f.plain; ++row) UpScaleX16Row_plain(small, h, w, row, larger + 4 * w * row);
    if (!f.plain) UpScaleX16_neon(small, h, w, larger);
    uint8_t* soft = f.planes.bytes(w * h);
    (f.plain ? Binomial3x3_plain : Binomial3x3)(small, soft, f.spare.empty<uint8_t>(w * h), w, h, w, w, w);
}

void scale(Form& f) {
    const bool wide = f.in.oneIn(4);
    const int srcW = wide ? f.in.in(161, 1400) : f.in.side(160);
    const int srcH = f.in.side(wide ? 16 : 120);
    const int ratio = f.in.in(0, 4);
    const int dstW = ratio == 0 ? 2 * srcW : ratio == 1 ? srcW : ratio == 2 ? (srcW + 1) / 2 : f.in.side(160);
    const int dstH = ratio == 0 ? 2 * srcH : ratio == 1 ? srcH : ratio == 2 ? (srcH + 1) / 2 : f.in.side(120);
    const int srcPitch = srcW + f.in.in(0, 9);
    const int dstPitch = dstW + f.in.in(0, 9);
    uint8_t* src = f.planes.bytes(srcPitch * (srcH - 1) + srcW);
    uint8_t* dst = f.planes.bytes(dstPitch * (dstH - 1) + dstW);
    if (!f.plain) {
        ScaleUnpadded({src, srcPitch, srcW, srcH}, {dst, dstPitch, dstW, dstH});
        return;
    }
    auto* padded = f.spare.empty<uint8_t>((srcW + 4) * (srcH + 4));
    MirrorBorderCopy(src, srcW, srcH, srcPitch, padded, 2);
    auto* columns = f.spare.empty<int32_t>(dstPitch);
    for (int x = 0; x < dstPitch; ++x) columns[x] = x;
    y_bilinear_scale_crop_fixed_plain(padded, srcW, srcH, srcPitch, dst, dstW, dstH, dstPitch, 0, dstH, columns);
}

void warp(Form& f) {
    const int width = 16 + 2 * f.in.side(72);
    const int height = 16 + 2 * f.in.side(60);
    const int32_t pitch = stride128(width);
    const auto picture = [&] {
        const int64_t chroma = int64_t{stride128(pitch / 2)} * (height / 2);
        return ST_PICTURE{width,
                          height,
                          pitch,
                          {f.planes.bytes(int64_t{pitch} * height), f.planes.bytes(chroma), f.planes.bytes(chroma)},
                          2};
    };
    const ST_PICTURE from = picture();
    const ST_PICTURE to = picture();
    // Above half of the picture, as the motion check grants it.
    ST_MOTION_AREA area{};
    area.width = roundDown(width - f.in.in(0, width / 2 - 8), 8);
    area.height = roundDown(height - f.in.in(0, height / 2 - 8), 8);
    area.x = f.in.in(0, (width - area.width) / 2) / 2 * 2;
    area.y = f.in.in(0, (height - area.height) / 2) / 2 * 2;
    float h[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    const float steps[9] = {1e-4F, 1e-4F, 0.01F, 1e-4F, 1e-4F, 0.01F, 1e-8F, 1e-8F, 0};
    for (int i = 0; i < 8; ++i) h[i] += steps[i] * static_cast<float>(f.in.take<int16_t>() / (f.in.oneIn(4) ? 1 : 64));
    if (f.in.oneIn(8)) h[f.in.in(0, 7)] = f.in.take<float>();
    const bool lumaOnly = f.in.oneIn(2);
    auto* scratch = f.spare.empty<float>(pitch / 2);
    if (!f.plain) {
        (lumaOnly ? AffineTransform_neon_stride_Y : AffineTransform_neon_stride)(nullptr, &from, &to, h, &area,
                                                                                 scratch);
        return;
    }
    for (int i = 0; i < area.width / 2; ++i) scratch[i] = static_cast<float>(area.x + 2 * i);
    const WarpRecord record{from, to, area.x, area.y, area.width, area.height, h, scratch};
    for (int y = area.y; y < area.y + area.height; y += 2) WarpRowPair_plain(record, y, lumaOnly);
    (lumaOnly ? MirrorFillOutside_Y : MirrorFillOutside)(&to, area.x, area.y, area.width, area.height);
}

void ransac(Form& f) {
    const int n = f.in.side(60);
    auto* ref = f.planes.numbers<float>(2 * n, 0, 2000);
    auto* cur = f.planes.numbers<float>(2 * n, 0, 2000);
    const int outliers = f.in.in(0, 8);
    const float turn = static_cast<float>(f.in.in(-100, 100)) * 1e-4F;
    for (int i = 0; i < n; ++i) {
        if (i % 8 < outliers) continue;
        cur[2 * i] = ref[2 * i] + turn * ref[2 * i + 1] + 3;
        cur[2 * i + 1] = ref[2 * i + 1] - turn * ref[2 * i] - 5;
    }
    auto* homography = f.planes.numbers<float>(9, 0, 1);
    ST_MATCH_PAIRS pairs{ref, cur, n};
    const RansacParams params{f.in.in(0, 150), 15, 0.9995F};
    const int result = (f.plain ? RansacEstimation_plain : RansacEstimation)(
        &pairs, homography, &params, f.spare.empty<uint8_t>(kRansacScratchPerPair * n));
    const int outcome[2] = {result, pairs.pointNum};
    f.planes.of(outcome);
}

void curves(Form& f) {
    const int32_t strength = f.in.oneIn(3) ? f.in.take<int32_t>() : f.in.in(-20, 530);
    auto* curve = f.planes.numbers<int16_t>(256, 0, 9);
    const auto build = f.in.of(
        {f.plain ? BuildLumaCurve_plain : BuildLumaCurve, f.plain ? BuildChromaCurve_plain : BuildChromaCurve,
         f.plain ? BuildThresholdCurve_plain : BuildThresholdCurve, f.plain ? BuildTailCurve_plain : BuildTailCurve});
    build(curve, strength);
}

// The steps of the luma pass. The gradient at quarter scale is the chroma pass's.
void lumaAsDefined(Memory& spare, const ST_DN_PARAMS_VA& dn, const ST_PICTURE& picture, uint8_t* gradQuarter) {
    const LumaSettings settings = ComputeLumaSettings(dn);
    const int w = picture.width;
    const int h = picture.height;
    const int halfW = w / 2;
    const int halfH = h / 2;
    const int quarterW = w / 4;
    const int quarterH = h / 4;
    const int pitch = stride128(w);
    uint8_t* luma = picture.pData[0];
    auto* plane = spare.empty<int16_t>(w * h);
    auto* other = spare.empty<int16_t>(w * h);
    auto* line = spare.empty<uint8_t>(w);
    for (int y = 0; y < h; ++y) {
        const uint8_t* row = luma + y * pitch;
        const bool median = settings.median && y > 0 && y < h - 1;
        if (median) Median3x3Row_plain(row - pitch, row, row + pitch, w, line);
        std::copy_n(median ? line : row, w, plane + y * w);
    }
    Lifting53Forward(plane, w, h, w, other);
    int16_t tables[2 * kRecursiveLutEntries];
    BuildRecursiveLut(tables, settings.lfStrength, settings.lfMix);
    const RecursiveFilterArgs low{
        spare.empty<int32_t>(halfW), tables, tables, tables + kRecursiveLutEntries, plane, w, plane, w, halfW, halfH};
    RecursiveLLForwardPart_plain(&low, true);
    RecursiveLLBackwardPart_plain(&low, true);

    uint8_t* gradients[3];
    for (uint8_t*& gradient : gradients) {
        gradient = spare.empty<uint8_t>(halfW * halfH);
        std::memset(gradient, 0, halfW * halfH);
    }
    for (int y = 1; y < halfH - 1; ++y) {
        const int16_t* row = plane + y * w;
        const int at = y * halfW;
        GradientRow_plain(row - w, row, row + w, halfW, 10, {gradients[0] + at, gradients[1] + at, gradients[2] + at});
    }
    DownScaleBox2x2_plain(gradients[2], halfW, gradQuarter, halfW, halfH);
    if (dn.lumaNrEnable == 0) return;

    auto* map = spare.empty<uint8_t>(quarterW * quarterH);
    auto* brightness = spare.empty<uint8_t>(quarterW * quarterH);
    std::copy_n(gradQuarter, quarterW * quarterH, map);
    DownScaleBox4x4_plain(luma, h, w, brightness);
    GaussRemapPlane_plain(map, quarterW, quarterW, quarterH, settings.mapSigma, settings.map.centre);
    ScaleByLuma_plain(map, brightness, quarterW, quarterH, settings.map.lumaLimit);
    if (settings.median) Median3x3Separable_plain(map, quarterW, quarterH, brightness);
    auto* detail = spare.empty<uint8_t>(w * h);
    std::memset(detail, 0, w * h);
    for (int y = 0; y < 4 * quarterH; ++y) UpScaleX16Row_plain(map, quarterH, quarterW, y, detail + y * 4 * quarterW);

    int16_t shrinkLut[1024];
    BuildShrinkLut(shrinkLut, settings.hfStrength);
    const ShrinkSettings shrink = PrepareShrink({nullptr, 0, nullptr, 0, 0, 0, shrinkLut, 50, 614});
    for (int y = 0; y < halfH; ++y) {
        const int at = y * halfW;
        int16_t* lower = plane + (halfH + y) * w;
        ShrinkDetailRow_plain(shrink, gradients[0] + at, halfW, plane + y * w + halfW);
        ShrinkDetailRow_plain(shrink, gradients[1] + at, halfW, lower);
        ShrinkDetailRow_plain(shrink, gradients[2] + at, halfW, lower + halfW);
    }
    Lifting53Inverse(plane, w, h, w, other);
    auto* denoised = spare.empty<uint8_t>(w * h);
    NarrowPlaneSat_plain(plane, denoised, w, h);
    const RemixDetailArgs remix{luma, denoised, detail, w, halfH * 2, pitch, settings.map.centre, settings.map.mixGain};
    RemixDetail_plain(&remix);
}

// The steps of the chroma pass.
void chromaAsDefined(Memory& spare, const ST_DN_PARAMS_VA& dn, const ST_PICTURE& picture, bool lowLevel,
                     const uint8_t* gradQuarter) {
    const int w = picture.width / 4;
    const int h = picture.height / 4;
    const int size = w * h;
    const int pitch = stride128(picture.stride / 2);
    uint8_t* quarter[2];
    uint8_t* denoised[2];
    for (int i = 0; i < 2; ++i) {
        quarter[i] = spare.empty<uint8_t>(size);
        denoised[i] = spare.empty<uint8_t>(size);
        DownScaleBox2x2_plain(picture.pData[1 + i], pitch, quarter[i], picture.width / 2, picture.height / 2);
    }
    auto* edges = spare.empty<uint8_t>(size);
    auto* magnitude = spare.empty<uint8_t>(size);
    auto* tmp = spare.empty<uint8_t>(size);
    auto* mask = spare.empty<uint8_t>(size);
    ChromaMagnitude_plain(quarter[0], quarter[1], magnitude, w, h, w);
    Binomial3x3_plain(magnitude, magnitude, tmp, w, h, w, w, w);
    SobelMagnitude_plain(magnitude, edges, w, h, w, w);
    if (gradQuarter != nullptr && dn.chromaEdgeLevel > 64) SatAddPlane_plain(edges, gradQuarter, w, h);

    const EdgeWindow window = ComputeEdgeWindow(dn.chromaS, lowLevel ? 1228 : 2048);
    ST_WAVELET_DN_PARAMS wavelet{};
    wavelet.pSamples = spare.empty<int16_t>(size);
    wavelet.sampleStride = w;
    wavelet.pEdgeMap = edges;
    wavelet.width = w;
    wavelet.height = h;
    wavelet.chromaThrBase = window.chromaThrBase;
    wavelet.edgeHigh = window.edgeHigh;
    wavelet.edgeLow = window.edgeLow;
    wavelet.shrinkLow = 76;
    wavelet.satGain = static_cast<uint16_t>(static_cast<float>(static_cast<uint8_t>(wrapAdd(dn.chromaS, 100))) * 0.4F);
    wavelet.shrinkHigh = 327;
    wavelet.pThresholds = spare.empty<uint16_t>(size);
    wavelet.pWork = spare.empty<int16_t>(3 * size);
    wavelet.pChromaLut = dn.pSpatialChromaNrLUT;
    wavelet.pFirstLevel = spare.empty<uint8_t>(2 * size);
    if (lowLevel) {
        DownScaleBox4x4_plain(dn.pMaskIIR, picture.height, picture.width, mask);
        wavelet.pMaskQuarter = mask;
        wavelet.levelShift = dn.iirImgCount == 2 ? 5 : dn.iirImgCount <= 4 ? 6 : dn.iirImgCount <= 8 ? 7 : 8;
    }
    (lowLevel ? WaveletMotionMap_plain : WaveletMaskMap_plain)(wavelet);
    for (int i = 0; i < 2; ++i)
        WaveletDenoiseBytes_plain(wavelet, i + 1, {quarter[i], denoised[i], 0, h}, {nullptr, 0});
    (void)MaskBinarizeDilate_r3_plain(edges, w, h, 50, tmp);
    const auto alpha = static_cast<uint8_t>(std::clamp(dn.chromaEdgeAlpha, 0, 255));
    const EdgeBlendArgs blend{
        wavelet.pFirstLevel, wavelet.pFirstLevel + size, denoised[0], denoised[1], edges, w, h, alpha};
    EdgeBlendChroma_plain(&blend);
    ChromaGainLut_plain(denoised[0], denoised[1], w, h, wrapSub(dn.chromaGainIndex, dn.chromaEdgeLevel > 200 ? 1 : 0));
    for (int i = 0; i < 2; ++i) UpScaleX4_plain(denoised[i], h, w, pitch, picture.pData[1 + i]);
}

void denoise(Form& f) {
    const bool lowLevel = f.in.oneIn(3);
    // As the entries take them, below the height where bands begin.
    const int width = 126 + 2 * f.in.side(17);
    const int height = 127 + f.in.side(128);
    const int64_t chroma = int64_t{stride128(width / 2)} * (height / 2);
    const ST_PICTURE picture{
        width,
        height,
        width,
        {f.planes.bytes(int64_t{stride128(width)} * height), f.planes.bytes(chroma), f.planes.bytes(chroma)},
        2};
    const auto strength = [&](int low, int high) { return f.in.oneIn(8) ? f.in.take<int32_t>() : f.in.in(low, high); };
    ST_DN_PARAMS_VA dn{};
    dn.pMaskIIR = f.planes.bytes(int64_t{stride128(width)} * height);
    dn.iirImgCount = f.in.take<uint8_t>();
    dn.lumaMed = f.in.in(0, 1);
    dn.lumaLF = strength(-100, 0);
    dn.lumaHF1 = strength(-128, 0);
    dn.chromaS = strength(-100, 156);
    dn.detail = strength(-110, 0);
    dn.pSpatialChromaNrLUT =
        reinterpret_cast<uint8_t*>(f.planes.numbers<uint32_t>(40, 0, f.in.oneIn(4) ? UINT32_MAX : 800));
    dn.lumaNrEnable = f.in.oneIn(4) ? 0 : 1;
    dn.chromaNrEnable = f.in.oneIn(4) ? 0 : 1;
    dn.chromaEdgeLevel = f.in.take<uint8_t>();
    dn.chromaGainIndex = strength(0, 10);
    dn.chromaEdgeAlpha = strength(0, 255);
    if (f.plain) {
        auto* gradient = f.spare.empty<uint8_t>((width / 4) * (height / 4));
        if (!lowLevel) lumaAsDefined(f.spare, dn, picture, gradient);
        if (lowLevel || dn.chromaNrEnable != 0)
            chromaAsDefined(f.spare, dn, picture, lowLevel, lowLevel ? nullptr : gradient);
    } else if (lowLevel) {
        const ST_NR_BAND_PARAMS whole = WholePicture(dn, picture);
        auto* scratch = f.spare.empty<uint8_t>(chromaBandScratchSize(width, height) / 2 * 2);
        const ChromaPassParams pass{whole, kChromaLowLevel, CutChromaScratch(scratch, whole, kChromaLowLevel), nullptr};
        FUZZ_CHECK(RunChromaPass(pass) == retStsOK);
        WriteChroma(pass);
    } else {
        ST_MULTIDENOISE_PARAMS_IN in{dn};
        ST_MULTIDENOISE_PARAMS_OUT out{picture};
        FUZZ_CHECK(SpatialNrHighLevelNew(&in, &out) == retStsOK);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static constexpr void (*kWorks[])(Form&) = {masks, maskAndGhost, resample, scale, warp, ransac, curves, denoise};
    static Memory planes[2];
    static Memory spare;
    static const auto targets = hwy::SupportedAndGeneratedTargets();
    Input in(data, size);
    const auto work = kWorks[in.take<uint8_t>() % std::size(kWorks)];
    const int64_t target = targets[in.take<uint8_t>() % targets.size()];
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(target);
    const auto seed = in.take<uint16_t>();
    for (const int k : {0, 1}) {
        planes[k].begin(seed, in);
        spare.begin(seed, in);
        Form form{k == 0, in, planes[k], spare};
        work(form);
    }
    FUZZ_CHECK(planes[0] == planes[1]);
    return 0;
}
