// The definition of the denoise bodies: the same steps, one after the other, made of the kernels' plain forms.
#pragma once

#include <cstdint>
#include <vector>

#include "highLevel/src/band/denoise_params.h"

namespace eis::test {

using Bytes = std::vector<uint8_t>;

// Planes as they lie in memory. Chroma rows are `chromaPitch` bytes apart; band starts in the mask count in rows of
// `maskStride` bytes, its rows are (width + 127) & ~127 bytes apart.
struct ReferencePicture {
    int width;
    int height;
    uint8_t* luma;  // null: chroma alone
    uint8_t* chroma[2];
    int chromaPitch;
    const uint8_t* mask;  // null: high level
    int maskStride;
};

// One band of four, or the whole picture.
struct ReferenceBand {
    int height;
    int top;
    int bottom;
    int64_t lumaStart;
    int64_t chromaStart;
    int64_t maskStart;
};
std::vector<ReferenceBand> referenceBands(const ReferencePicture& picture);

// `height` rows of a band, the plane's first row where one would start before the plane; outPitch bytes apart.
Bytes referenceRows(const uint8_t* plane, int64_t start, int pitch, int width, int height, int outPitch);

// Denoises the picture in place.
void referenceDenoise(const ReferencePicture& picture, const ST_DN_PARAMS_VA& dn);

}  // namespace eis::test
