#include "highLevel/src/band/nr_bands.h"

#include "libCore/core/source/frame/alignment.h"

namespace eis {

bool usesNrBands(int32_t width, int32_t height) {
    constexpr int32_t kMinWidth = 128;
    constexpr int32_t kMinHeight = 256;
    return width >= kMinWidth && height >= kMinHeight;
}

ST_NR_BAND_PARAMS WholePicture(const ST_DN_PARAMS_VA& dn, const ST_PICTURE& picture) {
    const int32_t pitch = stride128(picture.width);
    const int32_t chromaPitch = stride128(picture.stride >> 1);
    return {.stDNParams = dn,
            .width = picture.width,
            .height = picture.height,
            .stride = picture.stride,
            .luma = {picture.pData[0], 0, pitch},
            .chroma = {{picture.pData[1], 0, chromaPitch}, {picture.pData[2], 0, chromaPitch}},
            .mask = {dn.pMaskIIR, 0, pitch},
            .bandTopOverlap = 0,
            .bandBottomOverlap = 0};
}

ST_NR_BAND_PARAMS CutBand(const ST_NR_BAND_PARAMS& whole, int k) {
    // What a middle band adds below its core; the sums round band heights up to multiples of 16.
    constexpr int32_t kMiddleBelow = 64;
    const bool isMiddle = k == 1 || k == 2;
    const int32_t quarter = whole.height >> 2;
    ST_NR_BAND_PARAMS band = whole;
    band.height = roundDown(quarter + (isMiddle ? 143 : 79), 16);
    const int32_t overlap = band.height - quarter;
    band.bandBottomOverlap = isMiddle ? kMiddleBelow : k == 0 ? overlap : 0;
    band.bandTopOverlap = overlap - band.bandBottomOverlap;
    const int64_t top = band.bandTopOverlap;
    const int64_t height = whole.height;
    band.luma.start = k * ((height * band.luma.pitch) >> 2) - top * band.luma.pitch;
    for (BandPlane& plane : band.chroma) {
        plane.start = k * (((height >> 1) * plane.pitch) >> 2) - ((top * plane.pitch) >> 1);
    }
    band.mask.start = (int64_t{k} * quarter - top) * whole.stride;
    return band;
}

}  // namespace eis
