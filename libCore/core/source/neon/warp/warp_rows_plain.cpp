#include <algorithm>
#include <cmath>

#include "libCore/core/source/neon/warp/affine_transform.h"
#include "libCore/core/source/neon/warp/warp_geometry.h"
#include "libCore/core/source/neon/warp/warp_rows.h"

namespace eis {

namespace {

struct Plane {
    const uint8_t* samples;
    int64_t size;

    uint16_t at(int64_t index) const { return samples[std::clamp<int64_t>(index, 0, size - 1)]; }
};

// Horizontal step, twice the sample's value, in 16 bits.
uint16_t blendColumns(const Plane& plane, int64_t index, uint16_t fx) {
    const uint32_t sum = plane.at(index) * static_cast<uint32_t>(128 - fx) + uint32_t{plane.at(index + 1)} * fx + 32;
    return static_cast<uint16_t>(sum) >> 6;
}

uint8_t blendRows(uint16_t upper, uint16_t lower, uint16_t fy) {
    const auto u = static_cast<uint16_t>(upper * static_cast<uint32_t>(128 - fy));
    const auto l = static_cast<uint16_t>(uint32_t{lower} * fy);
    const uint32_t sum = std::min<uint32_t>(uint32_t{u} + l, 65535);
    return static_cast<uint8_t>((sum + 128) >> 8);
}

}  // namespace

bool WarpGroup_plain(const WarpRecord& record, int row, int group, float inverse, bool lumaOnly) {
    const float* h = record.homography;
    const ST_PICTURE& source = record.source;
    const ST_PICTURE& destination = record.destination;
    const int32_t stride = source.stride;
    const int32_t chromaPitch = warpChromaPitch(stride);
    const Plane luma{source.pData[0], int64_t{stride} * source.height};
    const auto r = static_cast<float>(row);
    int32_t ix[kWarpGroupPositions], iy[kWarpGroupPositions], offset[kWarpGroupPositions];
    uint16_t fx[kWarpGroupPositions], fy[kWarpGroupPositions];
    for (int j = 0; j < kWarpGroupPositions; ++j) {
        const float xs = record.xTable[kWarpGroupPositions * group + j];
        const float X = std::fma(xs, h[0], std::fma(r, h[1], h[2])) * inverse;
        const float Y = std::fma(xs, h[3], std::fma(r, h[4], h[5])) * inverse;
        ix[j] = truncSat32(X);
        iy[j] = truncSat32(Y);
        fx[j] = warpFraction(X, ix[j]);
        fy[j] = warpFraction(Y, iy[j]);
        offset[j] = warpOffset(ix[j], iy[j], stride);
    }
    const bool contiguous = warpContiguous(offset);

    uint8_t* out = destination.pData[0] + int64_t{row} * destination.stride + record.x + kWarpGroupColumns * group;
    for (int k = 0; k < kWarpGroupColumns; ++k) {
        const int j = k / 2;
        const int64_t c = contiguous ? int64_t{offset[0]} + k : int64_t{offset[j]} + (k - 2 * j);
        const uint16_t a0 = blendColumns(luma, c, fx[j]);
        const uint16_t a1 = blendColumns(luma, c + stride, fx[j]);
        const uint16_t a2 = blendColumns(luma, c + 2 * int64_t{stride}, fx[j]);
        out[k] = blendRows(a0, a1, fy[j]);
        out[destination.stride + k] = blendRows(a1, a2, fy[j]);
    }

    for (int i = 1; i < 3 && !lumaOnly; ++i) {
        const Plane chroma{source.pData[i], int64_t{chromaPitch} * (source.height >> 1)};
        uint8_t* samples = destination.pData[i] + int64_t{row >> 1} * chromaPitch + (record.x >> 1) + 4 * group;
        const int64_t first = warpChromaOffset(ix[0], iy[0], chromaPitch);
        for (int j = 0; j < kWarpGroupPositions; ++j) {
            const int64_t c = contiguous ? first + j : int64_t{warpChromaOffset(ix[j], iy[j], chromaPitch)};
            samples[j] = static_cast<uint8_t>(chroma.at(c));
        }
    }
    return contiguous;
}

bool WarpRowPair_plain(const WarpRecord& record, int row, bool lumaOnly) {
    const float* h = record.homography;
    float den = std::fma(static_cast<float>(row), h[7], std::fma(h[6], static_cast<float>(record.x), 1.0F));
    bool contiguous = false;
    for (int group = 0; group < record.w / kWarpGroupColumns; ++group) {
        contiguous = WarpGroup_plain(record, row, group, 1.0F / den, lumaOnly);
        den += h[6] * 8.0F;
    }
    return contiguous;
}

}  // namespace eis
