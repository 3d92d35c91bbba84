#include "tests/denoise/reference.h"

#include <algorithm>

#include "libCore/core/source/frame/alignment.h"
#include "tests/denoise/reference_chroma.h"
#include "tests/denoise/reference_luma.h"

namespace eis::test {

std::vector<ReferenceBand> referenceBands(const ReferencePicture& picture) {
    const int h = picture.height;
    if (h < 256 || picture.width < 128) return {{h, 0, 0, 0, 0, 0}};
    const int q = h >> 2;
    const int hEdge = (q + 79) & ~15;
    const int hMid = (q + 143) & ~15;
    const int ovEdge = hEdge - q;
    const int ovMid = hMid - q - 64;
    std::vector<ReferenceBand> bands = {{hEdge, 0, ovEdge, 0, 0, 0},
                                        {hMid, ovMid, 64, 0, 0, 0},
                                        {hMid, ovMid, 64, 0, 0, 0},
                                        {hEdge, ovEdge, 0, 0, 0, 0}};
    const int64_t lumaPitch = stride128(picture.width);
    const int64_t chromaPitch = picture.chromaPitch;
    for (int k = 0; k < 4; ++k) {
        ReferenceBand& band = bands[k];
        band.lumaStart = k * ((lumaPitch * h) >> 2) - band.top * lumaPitch;
        band.chromaStart = k * (((h >> 1) * chromaPitch) >> 2) - ((band.top * chromaPitch) >> 1);
        band.maskStart = (int64_t{k} * q - band.top) * picture.maskStride;
    }
    return bands;
}

Bytes referenceRows(const uint8_t* plane, int64_t start, int pitch, int width, int height, int outPitch) {
    Bytes rows(static_cast<size_t>(outPitch) * height);
    for (int y = 0; y < height; ++y) {
        std::copy_n(plane + std::max<int64_t>(start + int64_t{y} * pitch, 0), width,
                    rows.begin() + int64_t{y} * outPitch);
    }
    return rows;
}

void referenceDenoise(const ReferencePicture& picture, const ST_DN_PARAMS_VA& dn) {
    const std::vector<ReferenceBand> bands = referenceBands(picture);
    std::vector<ReferenceLuma> luma(bands.size());
    std::vector<QuarterChroma> chroma(bands.size());
    for (size_t k = 0; k < bands.size(); ++k) {
        if (picture.luma != nullptr) luma[k] = referenceFilterLuma(picture, bands[k], dn);
        if (dn.chromaNrEnable != 0) chroma[k] = referenceFilterChroma(picture, bands[k], dn, luma[k].gradQuarter);
    }
    for (size_t k = 0; k < bands.size(); ++k) {
        if (dn.chromaNrEnable != 0) referenceWriteChroma(picture, bands[k], chroma[k]);
        if (picture.luma != nullptr && dn.lumaNrEnable != 0) referenceWriteLuma(picture, bands[k], dn, luma[k]);
    }
}

}  // namespace eis::test
