#include "libCore/core/source/neon/warp_rows.h"

#include <cmath>
#include <cstring>

#include "libCore/core/source/neon/affine_transform.h"
#include "libCore/core/source/neon/mirror_fill.h"
#include "libCore/core/source/neon/warp_geometry.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "libCore/core/source/neon/warp_rows.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

// Groups handled in one go, so that their state stays on the stack.
constexpr int kGroups = 128;
constexpr int kPositions = kGroups * kWarpGroupPositions;
constexpr int kColumns = kGroups * kWarpGroupColumns;

// Positions of a run of groups.
struct Positions {
    float inverse[kGroups];
    int32_t ix[kPositions];
    int32_t iy[kPositions];
    int32_t offset[kPositions];  // of a contiguous group: from its first one on in steps of two
    uint16_t fx[kColumns];       // a weight for each column
    uint16_t fy[kColumns];
    bool contiguous[kGroups];
};

// Left and right neighbours of each column, in three source rows.
struct Neighbours {
    uint8_t left[3][kColumns];
    uint8_t right[3][kColumns];
};

// The saturating conversion without a branch: NaN gives 0.
HWY_INLINE int32_t Truncate(float value) {
    const float low = value >= -2147483648.0F ? value : -2147483648.0F;
    const float clamped = low < 2147483520.0F ? low : 2147483520.0F;
    const auto inRange = static_cast<int32_t>(clamped);
    const int32_t saturated = value >= 2147483648.0F ? INT32_MAX : inRange;
    return value == value ? saturated : 0;
}

// warpFraction without a branch: the difference of two 32-bit integers, one times 128, is exact in a double.
HWY_INLINE uint16_t Fraction(float coordinate, int32_t whole) {
    const double fraction = static_cast<double>(Truncate(coordinate * 128.0F)) - 128.0 * static_cast<double>(whole);
    const double positive = fraction > 0.0 ? fraction : 0.0;
    return static_cast<uint16_t>(static_cast<int32_t>(positive < 65535.0 ? positive : 65535.0));
}

// The running denominator's rounding at each step is part of the result.
float Reciprocals(float den, float step, int groups, float* HWY_RESTRICT inverse) {
    float dens[kGroups];
    for (int g = 0; g < groups; ++g) {
        dens[g] = den;
        den += step;
    }
    for (int g = 0; g < groups; ++g) inverse[g] = 1.0F / dens[g];
    return den;
}

void Project(const float* HWY_RESTRICT xTable, const float* HWY_RESTRICT h, float row, int32_t stride, int groups,
             Positions& at) {
    const float baseX = std::fma(row, h[1], h[2]);
    const float baseY = std::fma(row, h[4], h[5]);
    const float h0 = h[0];
    const float h3 = h[3];
    float X[kPositions];
    float Y[kPositions];
    for (int g = 0; g < groups; ++g) {
        const float inverse = at.inverse[g];
        for (int j = 0; j < kWarpGroupPositions; ++j) {
            const int p = kWarpGroupPositions * g + j;
            X[p] = std::fma(xTable[p], h0, baseX) * inverse;
            Y[p] = std::fma(xTable[p], h3, baseY) * inverse;
        }
    }
    for (int p = 0; p < groups * kWarpGroupPositions; ++p) {
        at.ix[p] = Truncate(X[p]);
        at.iy[p] = Truncate(Y[p]);
        at.offset[p] = warpOffset(at.ix[p], at.iy[p], stride);
        const uint16_t fx = Fraction(X[p], at.ix[p]);
        const uint16_t fy = Fraction(Y[p], at.iy[p]);
        at.fx[2 * p] = fx;
        at.fx[2 * p + 1] = fx;
        at.fy[2 * p] = fy;
        at.fy[2 * p + 1] = fy;
    }
    for (int g = 0; g < groups; ++g) at.contiguous[g] = warpContiguous(&at.offset[kWarpGroupPositions * g]);
}

HWY_INLINE int64_t ClampIndex(int64_t index, int64_t size) {
    return index < 0 ? 0 : index < size ? index : size - 1;
}

// Copies the three samples from `offset` on of each of three rows.
HWY_INLINE void GatherPosition(const uint8_t* HWY_RESTRICT plane, int64_t size, int64_t stride, int64_t offset,
                               int column, Neighbours& out) {
    uint8_t samples[3];
    const bool inside = offset >= 0 && offset + 2 * stride + 2 < size;
    for (int r = 0; r < 3; ++r) {
        const int64_t first = offset + r * stride;
        if (inside) {
            memcpy(samples, plane + first, 3);
        } else {
            for (int i = 0; i < 3; ++i) samples[i] = plane[ClampIndex(first + i, size)];
        }
        out.left[r][column] = samples[0];
        out.left[r][column + 1] = samples[1];
        out.right[r][column] = samples[1];
        out.right[r][column + 1] = samples[2];
    }
}

void Gather(const uint8_t* plane, int64_t size, int64_t stride, int groups, const Positions& at, Neighbours& out) {
    for (int g = 0; g < groups; ++g) {
        const int32_t* offsets = &at.offset[kWarpGroupPositions * g];
        for (int j = 0; j < kWarpGroupPositions; ++j) {
            const int64_t offset = at.contiguous[g] ? int64_t{offsets[0]} + 2 * j : int64_t{offsets[j]};
            GatherPosition(plane, size, stride, offset, kWarpGroupColumns * g + 2 * j, out);
        }
    }
}

// 16 bits throughout: with weights to 128 a row's blend is at most 510, and its products at most 65280.
void BlendColumns(const uint8_t* HWY_RESTRICT left, const uint8_t* HWY_RESTRICT right, const uint16_t* HWY_RESTRICT fx,
                  int columns, uint16_t* HWY_RESTRICT out) {
    for (int x = 0; x < columns; ++x) {
        const auto weight = static_cast<uint16_t>(128 - fx[x]);
        const auto sum = static_cast<uint16_t>(left[x] * uint32_t{weight} + right[x] * uint32_t{fx[x]} + 32);
        out[x] = static_cast<uint16_t>(sum >> 6);
    }
}

void BlendRows(const uint16_t* HWY_RESTRICT upper, const uint16_t* HWY_RESTRICT lower, const uint16_t* HWY_RESTRICT fy,
               int columns, uint8_t* HWY_RESTRICT out) {
    for (int x = 0; x < columns; ++x) {
        const auto weight = static_cast<uint16_t>(128 - fy[x]);
        const auto u = static_cast<uint16_t>(upper[x] * uint32_t{weight});
        const auto l = static_cast<uint16_t>(lower[x] * uint32_t{fy[x]});
        const uint32_t sum = uint32_t{u} + l;
        out[x] = static_cast<uint8_t>(((sum < 65535 ? sum : 65535) + 128) >> 8);
    }
}

void BlendLuma(const Neighbours& from, const Positions& at, int columns, uint8_t* out, int64_t outStride) {
    uint16_t a[3][kColumns];
    for (int r = 0; r < 3; ++r) BlendColumns(from.left[r], from.right[r], at.fx, columns, a[r]);
    BlendRows(a[0], a[1], at.fy, columns, out);
    BlendRows(a[1], a[2], at.fy, columns, out + outStride);
}

void NearestChroma(const uint8_t* HWY_RESTRICT first, const uint8_t* HWY_RESTRICT second, int64_t size, int32_t pitch,
                   int groups, const Positions& at, uint8_t* HWY_RESTRICT outFirst, uint8_t* HWY_RESTRICT outSecond) {
    for (int g = 0; g < groups; ++g) {
        const int p = kWarpGroupPositions * g;
        const int64_t start = warpChromaOffset(at.ix[p], at.iy[p], pitch);
        for (int j = 0; j < kWarpGroupPositions; ++j) {
            const int64_t offset =
                at.contiguous[g] ? start + j : int64_t{warpChromaOffset(at.ix[p + j], at.iy[p + j], pitch)};
            const int64_t index = ClampIndex(offset, size);
            outFirst[p + j] = first[index];
            outSecond[p + j] = second[index];
        }
    }
}

bool WarpRowPair(const WarpRecord& record, int row, bool lumaOnly) {
    const float* h = record.homography;
    const ST_PICTURE& source = record.source;
    const ST_PICTURE& destination = record.destination;
    const int32_t stride = source.stride;
    const int32_t chromaPitch = warpChromaPitch(stride);
    const int64_t lumaSize = int64_t{stride} * source.height;
    const int64_t chromaSize = int64_t{chromaPitch} * (source.height >> 1);
    const auto r = static_cast<float>(row);
    const int totalGroups = record.w / kWarpGroupColumns;
    Positions at;
    Neighbours neighbours;
    bool contiguous = false;
    float den = std::fma(r, h[7], std::fma(h[6], static_cast<float>(record.x), 1.0F));
    for (int g = 0; g < totalGroups; g += kGroups) {
        const int groups = totalGroups - g < kGroups ? totalGroups - g : kGroups;
        const int column = record.x + kWarpGroupColumns * g;
        den = Reciprocals(den, h[6] * 8.0F, groups, at.inverse);
        Project(record.xTable + kWarpGroupPositions * g, h, r, stride, groups, at);
        Gather(source.pData[0], lumaSize, stride, groups, at, neighbours);
        BlendLuma(neighbours, at, groups * kWarpGroupColumns,
                  destination.pData[0] + int64_t{row} * destination.stride + column, destination.stride);
        if (!lumaOnly) {
            const int64_t to = int64_t{row >> 1} * chromaPitch + (column >> 1);
            NearestChroma(source.pData[1], source.pData[2], chromaSize, chromaPitch, groups, at,
                          destination.pData[1] + to, destination.pData[2] + to);
        }
        contiguous = at.contiguous[groups - 1];
    }
    return contiguous;
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(WarpRowPair);

bool WarpRowPair_neon(const WarpRecord& record, int row, bool lumaOnly) {
    return HWY_DYNAMIC_DISPATCH(WarpRowPair)(record, row, lumaOnly);
}

}  // namespace eis
#endif
