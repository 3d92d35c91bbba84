#include "tests/denoise/reference_chroma.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "highLevel/src/chroma/chroma_edges.h"
#include "highLevel/src/chroma/chroma_gain.h"
#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/neon/mask/mask_morphology.h"
#include "libCore/core/source/neon/resample/binomial3x3.h"
#include "libCore/core/source/neon/resample/resample_down.h"
#include "libCore/core/source/neon/resample/resample_up.h"
#include "libCore/core/source/neon/wavelet/q7_convert.h"
#include "libCore/core/source/neon/wavelet/wavelet_dispatch.h"

namespace eis::test {

namespace {

void setStrength(ST_WAVELET_DN_PARAMS& wavelet, const ST_DN_PARAMS_VA& dn, bool low) {
    const int s10 = dn.chromaS * 10;
    const int base = low ? 1228 : 2048;
    if (s10 < -620) {
        wavelet.chromaThrBase = 0;
        wavelet.edgeHigh = 30;
        wavelet.edgeLow = 15;
    } else if (s10 <= -395) {
        wavelet.edgeHigh = static_cast<uint8_t>((s10 - 118) & 255);
        wavelet.edgeLow = wavelet.edgeHigh >> 1;
        wavelet.chromaThrBase = wavelet.edgeHigh == 30 ? 0 : base;
    } else {
        wavelet.chromaThrBase = base;
        wavelet.edgeHigh = 255;
        wavelet.edgeLow = 127;
    }
    wavelet.shrinkLow = 76;
    wavelet.shrinkHigh = 327;
    wavelet.satGain = static_cast<uint16_t>(((dn.chromaS + 100) & 255) * 0.4);
    wavelet.levelShift = dn.iirImgCount == 2 ? 5 : dn.iirImgCount < 5 ? 6 : dn.iirImgCount < 9 ? 7 : 8;
}

}  // namespace

QuarterChroma referenceFilterChroma(const ReferencePicture& picture, const ReferenceBand& band,
                                    const ST_DN_PARAMS_VA& dn, const Bytes& gradQuarter) {
    const int width = picture.width;
    const int qW = width >> 2;
    const int qH = band.height >> 2;
    const size_t plane = static_cast<size_t>(qW) * qH;
    Bytes quarter[2];
    for (int i = 0; i < 2; ++i) {
        const Bytes rows = referenceRows(picture.chroma[i], band.chromaStart, picture.chromaPitch, width / 2,
                                         band.height / 2, width / 2);
        quarter[i].resize(plane);
        DownScaleBox2x2_plain(rows.data(), width / 2, quarter[i].data(), width / 2, band.height / 2);
    }

    Bytes magnitude(plane);
    Bytes spare(plane);
    Bytes edges(plane);
    ChromaMagnitude_plain(quarter[0].data(), quarter[1].data(), magnitude.data(), qW, qH, qW);
    Binomial3x3_plain(magnitude.data(), magnitude.data(), spare.data(), qW, qH, qW, qW, qW);
    SobelMagnitude_plain(magnitude.data(), edges.data(), qW, qH, qW, qW);
    if (!gradQuarter.empty() && dn.chromaEdgeLevel > 64) SatAddPlane_plain(edges.data(), gradQuarter.data(), qW, qH);

    Bytes mask(plane);
    if (picture.mask != nullptr) {
        const int pitch = stride128(width);
        const Bytes rows = referenceRows(picture.mask, band.maskStart, pitch, width, band.height, pitch);
        DownScaleBox4x4_plain(rows.data(), band.height, width, mask.data());
    }

    std::vector<int16_t> samples(plane);
    std::vector<int16_t> work(3 * plane);
    std::vector<uint16_t> thresholds(plane);
    Bytes first(2 * plane);
    ST_WAVELET_DN_PARAMS wavelet{};
    wavelet.pSamples = samples.data();
    wavelet.sampleStride = wavelet.width = qW;
    wavelet.height = qH;
    wavelet.pEdgeMap = edges.data();
    wavelet.pThresholds = thresholds.data();
    wavelet.pWork = work.data();
    wavelet.pChromaLut = dn.pSpatialChromaNrLUT;
    wavelet.pMaskQuarter = mask.data();
    wavelet.pFirstLevel = first.data();
    setStrength(wavelet, dn, picture.mask != nullptr);
    QuarterChroma result;
    for (int i = 0; i < 2; ++i) {
        WidenQ7_plain(quarter[i].data(), samples.data(), qW, qH);
        if (picture.mask != nullptr) {
            WaveletDenoiseDispatch_Ghost_plain(wavelet, i + 1);
        } else {
            WaveletDenoiseDispatch_Mask_plain(wavelet, i + 1);
        }
        result.planes[i].resize(plane);
        NarrowQ7Round_plain(samples.data(), result.planes[i].data(), qW, qH);
    }

    EXPECT_EQ(MaskBinarizeDilate_r3_plain(edges.data(), qW, qH, 50, spare.data()), retStsOK);
    uint8_t* u = result.planes[0].data();
    uint8_t* v = result.planes[1].data();
    const auto alpha = static_cast<uint8_t>(std::clamp(dn.chromaEdgeAlpha, 0, 255));
    const EdgeBlendArgs args{first.data(), first.data() + plane, u, v, edges.data(), qW, qH, alpha};
    EdgeBlendChroma_plain(&args);
    ChromaGainLut_plain(u, v, qW, qH, dn.chromaEdgeLevel >= 201 ? dn.chromaGainIndex - 1 : dn.chromaGainIndex);
    return result;
}

void referenceWriteChroma(const ReferencePicture& picture, const ReferenceBand& band, const QuarterChroma& filtered) {
    const int qW = picture.width >> 2;
    const auto upScale = band.top != 0 && band.bottom != 0 ? UpScaleX4_MidBand_plain
                         : band.bottom != 0                ? UpScaleX4_TopBand_plain
                         : band.top != 0                   ? UpScaleX4_BottomBand_plain
                                                           : UpScaleX4_plain;
    for (int i = 0; i < 2; ++i) {
        upScale(filtered.planes[i].data() + static_cast<ptrdiff_t>(qW) * (band.top >> 2),
                (band.height - band.top - band.bottom) >> 2, qW, picture.chromaPitch,
                picture.chroma[i] + (band.chromaStart + int64_t{picture.chromaPitch} * (band.top >> 1)));
    }
}

}  // namespace eis::test
