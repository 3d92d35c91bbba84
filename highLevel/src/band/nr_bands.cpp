#include "highLevel/src/band/nr_bands.h"

namespace eis {

int64_t NrBandGeometry::lumaStart(int band, int32_t pitch) const {
    return band * ((int64_t{pitch} * pictureHeight) >> 2) - int64_t{bands[band].bandTopOverlap} * pitch;
}

int64_t NrBandGeometry::chromaStart(int band, int32_t pitch) const {
    return band * ((int64_t{pictureHeight >> 1} * pitch) >> 2) - ((int64_t{bands[band].bandTopOverlap} * pitch) >> 1);
}

int64_t NrBandGeometry::maskStart(int band, int32_t pitch) const {
    return (int64_t{band} * (pictureHeight >> 2) - bands[band].bandTopOverlap) * pitch;
}

NrBandGeometry ComputeNrBands(int32_t height) {
    // What a middle band adds below its core; the sums round band heights up to multiples of 16.
    constexpr int32_t kMiddleBelow = 64;
    const int32_t quarter = height >> 2;
    const int32_t hEdge = (quarter + 79) & ~15;
    const int32_t hMid = (quarter + 143) & ~15;
    const int32_t ovEdge = hEdge - quarter;
    const int32_t ovMid = hMid - quarter - kMiddleBelow;
    return {height, {{hEdge, 0, ovEdge}, {hMid, ovMid, kMiddleBelow}, {hMid, ovMid, kMiddleBelow}, {hEdge, ovEdge, 0}}};
}

}  // namespace eis
