#include "tests/denoise/reference.h"

#include <algorithm>

#include "libCore/core/source/arithmetic.h"
#include "tests/denoise/reference_chroma.h"

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

Bytes referenceRows(const uint8_t* plane, int64_t start, int pitch, int width, int height) {
    Bytes rows;
    for (int y = 0; y < height; ++y) {
        const uint8_t* row = plane + std::max<int64_t>(start + int64_t{y} * pitch, 0);
        rows.insert(rows.end(), row, row + width);
    }
    return rows;
}

void referenceDenoise(const ReferencePicture& picture, const ST_DN_PARAMS_VA& dn) {
    const std::vector<ReferenceBand> bands = referenceBands(picture);
    if (dn.chromaNrEnable == 0) return;
    std::vector<QuarterChroma> filtered;
    filtered.reserve(bands.size());
    for (const ReferenceBand& band : bands) filtered.push_back(referenceFilterChroma(picture, band, dn, {}));
    for (size_t k = 0; k < bands.size(); ++k) referenceWriteChroma(picture, bands[k], filtered[k]);
}

}  // namespace eis::test
