#include "libCore/core/source/neon/warp_rows.h"

#include <hwy/cache_control.h>

#include <algorithm>
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

namespace hn = hwy::HWY_NAMESPACE;

// Groups handled in one go, so that their state stays on the stack.
constexpr int kGroups = 128;
constexpr int kPositions = kGroups * kWarpGroupPositions;
// Rows below that are fetched. Rotated reads cross a page or a row too often for the processor to do it.
constexpr int kRowsAhead = 8;

using Bytes = hn::CappedTag<uint8_t, 16>;
using Words = hn::CappedTag<uint16_t, 8>;  // a lane for each column of a group
using BytesV = hn::Vec<Bytes>;
using WordsV = hn::Vec<Words>;

// Positions of a run of groups, in arrays that fill vectors.
struct Positions {
    float inverse[kPositions];  // the same for all of a group
    int32_t ix[kPositions];
    int32_t iy[kPositions];
    int32_t offset[kPositions];
    uint32_t columnWeights[kPositions];  // twice the bytes 128 - fx, fx
    uint32_t rowWeights[kPositions];     // twice the 16-bit word fy
    uint32_t uncommon[kPositions];       // not 0: a coordinate that the arrays do not hold
    uint32_t uneven[kPositions];         // 0: two more for each position of the group
};

// What one row pair is made of.
struct Source {
    const uint8_t* luma;
    int64_t lumaSize;
    int64_t lastLoad;  // where 16 bytes of three rows are read at the latest
    int64_t stride;
    const uint8_t* chroma[2];
    int64_t chromaSize;
    int32_t chromaPitch;
};

// The running denominator's rounding at each step is part of the result.
float Reciprocals(float den, float step, int groups, float* HWY_RESTRICT inverse) {
    float dens[kGroups];
    for (int g = 0; g < groups; ++g) {
        dens[g] = den;
        den += step;
    }
    for (int g = 0; g < groups; ++g) dens[g] = 1.0F / dens[g];
    for (int g = 0; g < groups; ++g) {
        for (int j = 0; j < kWarpGroupPositions; ++j) inverse[kWarpGroupPositions * g + j] = dens[g];
    }
    return den;
}

void Project(const float* HWY_RESTRICT xTable, const float* HWY_RESTRICT h, float row,
             const float* HWY_RESTRICT inverse, int positions, float* HWY_RESTRICT X, float* HWY_RESTRICT Y) {
    const float baseX = std::fma(row, h[1], h[2]);
    const float baseY = std::fma(row, h[4], h[5]);
    const float h0 = h[0];
    const float h3 = h[3];
    for (int p = 0; p < positions; ++p) X[p] = std::fma(xTable[p], h0, baseX) * inverse[p];
    for (int p = 0; p < positions; ++p) Y[p] = std::fma(xTable[p], h3, baseY) * inverse[p];
}

// Of coordinates from 0 to 32767, where no conversion saturates and a fraction has seven bits; others are uncommon.
void Locate(const float* HWY_RESTRICT X, const float* HWY_RESTRICT Y, int32_t stride, int positions,
            Positions& HWY_RESTRICT at) {
    const hn::ScalableTag<float> d;
    const hn::RebindToSigned<decltype(d)> dI;
    const hn::RebindToUnsigned<decltype(d)> dU;
    alignas(16) static constexpr int32_t kSteps[kWarpGroupPositions] = {0, 2, 4, 6};
    const auto steps = hn::LoadDup128(dI, kSteps);
    for (int p = 0; p < positions; p += static_cast<int>(hn::Lanes(d))) {
        const auto limited = [&](const float* coordinates) HWY_ATTR {
            return hn::Min(hn::Max(hn::LoadU(d, coordinates + p), hn::Zero(d)), hn::Set(d, 32767.0F));
        };
        const auto x = limited(X);
        const auto y = limited(Y);
        const auto ix = hn::ConvertTo(dI, x);
        const auto iy = hn::ConvertTo(dI, y);
        const auto fraction = [&](auto coordinate, auto whole) HWY_ATTR {
            const auto units = hn::ConvertTo(dI, hn::Mul(coordinate, hn::Set(d, 128.0F)));
            return hn::BitCast(dU, hn::Sub(units, hn::ShiftLeft<7>(whole)));
        };
        const auto twice = [&](auto word) HWY_ATTR { return hn::Or(word, hn::ShiftLeft<16>(word)); };
        const auto fx = fraction(x, ix);
        const auto offset = hn::Add(ix, hn::Mul(iy, hn::Set(dI, stride)));
        const auto uncommon = hn::Or(hn::Ne(x, hn::LoadU(d, X + p)), hn::Ne(y, hn::LoadU(d, Y + p)));
        hn::StoreU(ix, dI, at.ix + p);
        hn::StoreU(iy, dI, at.iy + p);
        hn::StoreU(offset, dI, at.offset + p);
        hn::StoreU(twice(hn::Add(hn::Sub(hn::Set(dU, 128), fx), hn::ShiftLeft<8>(fx))), dU, at.columnWeights + p);
        hn::StoreU(twice(fraction(y, iy)), dU, at.rowWeights + p);
        hn::StoreU(hn::BitCast(dU, hn::VecFromMask(d, uncommon)), dU, at.uncommon + p);
        hn::StoreU(hn::BitCast(dU, hn::Xor(offset, hn::Add(hn::Broadcast<0>(offset), steps))), dU, at.uneven + p);
    }
}

// Whether a group's four words are 0.
HWY_INLINE bool None(const uint32_t* words) {
    uint64_t halves[2];
    std::memcpy(halves, words, sizeof halves);
    return (halves[0] | halves[1]) == 0;
}

// Twice the samples between the neighbours of each column, which stand side by side: at most 510.
HWY_INLINE WordsV BlendColumns(BytesV pairs, BytesV weights) {
    const Words d;
#if HWY_ARCH_ARM
    const uint16x8_t samples = vreinterpretq_u16_u8(pairs.raw);
    const uint16x8_t parts = vreinterpretq_u16_u8(weights.raw);
    const uint16x8_t left = vmull_u8(vmovn_u16(samples), vmovn_u16(parts));
    const WordsV sum{vmlal_u8(left, vshrn_n_u16(samples, 8), vshrn_n_u16(parts, 8))};
    return hn::ShiftRight<6>(hn::Add(sum, hn::Set(d, 32)));
#else
    // The products take signed samples: 128 is subtracted before and, at a weight of 128 in all, added behind.
    const BytesV centred = hn::Xor(pairs, hn::Set(Bytes(), 0x80));
    const WordsV sum{_mm_maddubs_epi16(weights.raw, centred.raw)};
    return hn::ShiftRight<6>(hn::Add(sum, hn::Set(d, 128 * 128 + 32)));
#endif
}

// Exact in 16 bits: upper * (128 - fy) + lower * fy is at most 65280.
HWY_INLINE WordsV BlendRows(WordsV upper, WordsV lower, WordsV fy) {
    const WordsV sum = hn::Add(hn::ShiftLeft<7>(upper), hn::Mul(hn::Sub(lower, upper), fy));
    return hn::ShiftRight<8>(hn::Add(sum, hn::Set(Words(), 128)));
}

// The nine samples of a contiguous group as pairs.
HWY_INLINE BytesV ContiguousPairs(const uint8_t* samples) {
    alignas(16) static constexpr uint8_t kPairs[16] = {0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8};
    return hn::TableLookupBytes(hn::LoadU(Bytes(), samples), hn::Load(Bytes(), kPairs));
}

// The three samples of each position as pairs.
HWY_INLINE BytesV ScatteredPairs(const uint8_t* plane, const int32_t* offset) {
    alignas(16) static constexpr uint8_t kPairs[16] = {0, 1, 1, 2, 4, 5, 5, 6, 8, 9, 9, 10, 12, 13, 13, 14};
    alignas(16) uint32_t samples[kWarpGroupPositions];
    for (int j = 0; j < kWarpGroupPositions; ++j) std::memcpy(&samples[j], plane + offset[j], sizeof samples[j]);
    const auto loaded = hn::Load(hn::CappedTag<uint32_t, 4>(), samples);
    return hn::TableLookupBytes(hn::BitCast(Bytes(), loaded), hn::Load(Bytes(), kPairs));
}

// Of three rows of pairs, the group's eight columns in two rows.
HWY_INLINE void BlendLuma(BytesV row0, BytesV row1, BytesV row2, const Positions& at, int position, uint8_t* out,
                          int64_t outStride) {
    const hn::CappedTag<uint32_t, 4> d32;
    const hn::CappedTag<int16_t, 8> dSigned;
    const hn::CappedTag<uint8_t, 8> dOut;
    const BytesV weights = hn::BitCast(Bytes(), hn::LoadU(d32, at.columnWeights + position));
    const WordsV fy = hn::BitCast(Words(), hn::LoadU(d32, at.rowWeights + position));
    const WordsV a0 = BlendColumns(row0, weights);
    const WordsV a1 = BlendColumns(row1, weights);
    const WordsV a2 = BlendColumns(row2, weights);
    hn::StoreU(hn::DemoteTo(dOut, hn::BitCast(dSigned, BlendRows(a0, a1, fy))), dOut, out);
    hn::StoreU(hn::DemoteTo(dOut, hn::BitCast(dSigned, BlendRows(a1, a2, fy))), dOut, out + outStride);
}

// Whether loads of 16 bytes from the first `count` offsets lie in the plane, two rows below, too.
HWY_INLINE bool LumaInside(const Source& from, const int32_t* offset, int count) {
    bool inside = true;
    for (int j = 0; j < count; ++j) inside = inside && offset[j] >= 0 && offset[j] <= from.lastLoad;
    return inside;
}

// Chroma of a group; false, and nothing done, where its samples leave the plane.
HWY_INLINE bool NearestChroma(const Source& from, const int32_t* ix, const int32_t* iy, bool contiguous,
                              uint8_t* const out[2], int64_t to) {
    if (contiguous) {
        const int32_t start = warpChromaOffset(ix[0], iy[0], from.chromaPitch);
        if (start < 0 || start + int64_t{kWarpGroupPositions} > from.chromaSize) return false;
        for (int i = 0; i < 2; ++i) std::memcpy(out[i] + to, from.chroma[i] + start, kWarpGroupPositions);
        return true;
    }
    int32_t offset[kWarpGroupPositions];
    for (int j = 0; j < kWarpGroupPositions; ++j) {
        offset[j] = warpChromaOffset(ix[j], iy[j], from.chromaPitch);
        if (offset[j] < 0 || offset[j] >= from.chromaSize) return false;
    }
    for (int i = 0; i < 2; ++i) {
        for (int j = 0; j < kWarpGroupPositions; ++j) out[i][to + j] = from.chroma[i][offset[j]];
    }
    return true;
}

HWY_INLINE void FetchAhead(const Source& from, const Positions& at, int position, bool lumaOnly) {
    const int64_t luma = at.offset[position] + kRowsAhead * from.stride;
    if (luma < 0 || luma + from.stride >= from.lumaSize) return;
    hwy::Prefetch(from.luma + luma);
    hwy::Prefetch(from.luma + luma + from.stride);
    if (lumaOnly) return;
    const int64_t chroma =
        (at.ix[position] >> 1) + ((at.iy[position] >> 1) + kRowsAhead / 2) * int64_t{from.chromaPitch};
    if (chroma >= from.chromaSize) return;
    for (const uint8_t* plane : from.chroma) hwy::Prefetch(plane + chroma);
}

bool WarpRowPair(const WarpRecord& record, int row, bool lumaOnly) {
    const float* h = record.homography;
    const ST_PICTURE& destination = record.destination;
    const int32_t stride = record.source.stride;
    const int32_t chromaPitch = warpChromaPitch(stride);
    const Source from{record.source.pData[0],
                      int64_t{stride} * record.source.height,
                      int64_t{stride} * (record.source.height - 2) - 16,
                      stride,
                      {record.source.pData[1], record.source.pData[2]},
                      int64_t{chromaPitch} * (record.source.height >> 1),
                      chromaPitch};
    uint8_t* const luma = destination.pData[0] + int64_t{row} * destination.stride + record.x;
    uint8_t* const chroma[2] = {destination.pData[1], destination.pData[2]};
    const int64_t chromaStart = int64_t{row >> 1} * chromaPitch + (record.x >> 1);
    const int totalGroups = record.w / kWarpGroupColumns;
    const auto r = static_cast<float>(row);
    Positions at;
    float X[kPositions] = {};
    float Y[kPositions] = {};
    bool contiguous = false;
    float den = std::fma(r, h[7], std::fma(h[6], static_cast<float>(record.x), 1.0F));
    for (int first = 0; first < totalGroups; first += kGroups) {
        const int groups = std::min(totalGroups - first, kGroups);
        den = Reciprocals(den, h[6] * 8.0F, groups, at.inverse);
        const int positions = kWarpGroupPositions * groups;
        Project(record.xTable + kWarpGroupPositions * first, h, r, at.inverse, positions, X, Y);
        Locate(X, Y, stride, positions, at);
        for (int g = 0; g < groups; ++g) {
            const int p = kWarpGroupPositions * g;
            const int32_t* offset = at.offset + p;
            if (g % 4 == 0) FetchAhead(from, at, p, lumaOnly);
            contiguous = None(at.uneven + p) || warpContiguous(offset);
            const bool common = None(at.uncommon + p) && LumaInside(from, offset, contiguous ? 1 : kWarpGroupPositions);
            if (!common || !(lumaOnly || NearestChroma(from, at.ix + p, at.iy + p, contiguous, chroma,
                                                       chromaStart + kWarpGroupPositions * (first + g)))) {
                contiguous = WarpGroup_plain(record, row, first + g, at.inverse[p], lumaOnly);
                continue;
            }
            BytesV pairs[3];
            for (int i = 0; i < 3; ++i) {
                pairs[i] = contiguous ? ContiguousPairs(from.luma + offset[0] + i * from.stride)
                                      : ScatteredPairs(from.luma + i * from.stride, offset);
            }
            BlendLuma(pairs[0], pairs[1], pairs[2], at, p, luma + kWarpGroupColumns * (first + g), destination.stride);
        }
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
