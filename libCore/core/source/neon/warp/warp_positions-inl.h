// Where the groups of a run of columns fall in the source, for each vector target. Included once a target, behind
// vector_unit.h.
#if defined(EIS_WARP_POSITIONS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef EIS_WARP_POSITIONS_INL_H
#undef EIS_WARP_POSITIONS_INL_H
#else
#define EIS_WARP_POSITIONS_INL_H
#endif

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "libCore/core/source/neon/warp/warp_geometry.h"

EIS_BEFORE_TARGET();

// Groups handled in one go, so that their state leaves the first cache to the rows.
inline constexpr int kGroups = 64;
inline constexpr int kPositions = kGroups * kWarpGroupPositions;

// Positions of a run of groups, in arrays that fill vectors.
struct Positions {
    float inverse[kPositions];  // the same for all of a group
    int32_t offset[kPositions];
    int32_t chromaOffset[kPositions];
    uint32_t columnWeights[kPositions];  // twice the bytes 128 - fx, fx; once on NEON
    uint32_t rowWeights[kPositions];     // twice the 16-bit word fy
    uint32_t uncommon[kPositions];       // not 0: a coordinate that the arrays do not hold
    uint32_t special[kPositions];        // 0: common, and two more than the position before in the group
    bool inside;                         // whether all that common positions load is in the planes
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

// The projections' denominators, one a group, each the one before plus a step: the rounding of each addition is part of
// the result, so that they cannot be computed apart.
struct Denominator {
    float value;
    float step;

    void next(float* HWY_RESTRICT values, int count) {
        for (int g = 0; g < count; ++g) {
            values[g] = value;
            value += step;
        }
    }
};

inline void Reciprocals(float* HWY_RESTRICT denominators, int groups, float* HWY_RESTRICT inverse) {
    for (int g = 0; g < groups; ++g) denominators[g] = 1.0F / denominators[g];
    for (int g = 0; g < groups; ++g) {
        for (int j = 0; j < kWarpGroupPositions; ++j) inverse[kWarpGroupPositions * g + j] = denominators[g];
    }
    // Whole vectors are located.
    const int positions = kWarpGroupPositions * groups;
    const int end = std::min(positions + static_cast<int>(hn::MaxLanes(hn::ScalableTag<float>())), kPositions);
    std::fill(inverse + positions, inverse + end, 0.0F);
}

// What the projections of a row's positions share.
struct Projection {
    float h0;
    float h3;
    float baseX;
    float baseY;

    Projection(const float* h, float row)
        : h0(h[0]), h3(h[3]), baseX(std::fma(row, h[1], h[2])), baseY(std::fma(row, h[4], h[5])) {}
};

// a * b + c, rounded once.
template <class D>
HWY_INLINE hn::Vec<D> Fused(D d, hn::Vec<D> a, float b, float c) {
#if HWY_TARGET == HWY_SSE4
    alignas(16) float lanes[hn::MaxLanes(D())];
    hn::Store(a, d, lanes);
    for (float& lane : lanes) lane = std::fma(lane, b, c);
    return hn::Load(d, lanes);
#else
    return hn::MulAdd(a, hn::Set(d, b), hn::Set(d, c));
#endif
}

// Coordinates in units of 1/128, truncated. The values fit 32 bits, so that the instruction alone does, without the
// library's care for those that do not.
#if HWY_ARCH_ARM
HWY_INLINE hn::Vec128<int32_t> Units(hn::Vec128<float> v) {
    return hn::Vec128<int32_t>(vcvtq_n_s32_f32(v.raw, 7));
}
#else
HWY_INLINE hn::Vec128<int32_t> Truncated(hn::Vec128<float> v) {
    return hn::Vec128<int32_t>{_mm_cvttps_epi32(v.raw)};
}
#if HWY_CAP_GE256
HWY_INLINE hn::Vec256<int32_t> Truncated(hn::Vec256<float> v) {
    return hn::Vec256<int32_t>{_mm256_cvttps_epi32(v.raw)};
}
#endif
#if HWY_CAP_GE512
HWY_INLINE hn::Vec512<int32_t> Truncated(hn::Vec512<float> v) {
    return hn::Vec512<int32_t>{_mm512_cvttps_epi32(v.raw)};
}
#endif
template <class V>
HWY_INLINE auto Units(V v) {
    return Truncated(hn::Mul(v, hn::Set(hn::DFromV<V>(), 128.0F)));
}
#endif

// Half the whole part of a coordinate in units, rounded up.
template <class V>
HWY_INLINE V HalfUp(V units) {
#if HWY_ARCH_ARM
    return V(vrshrq_n_s32(units.raw, 8));
#else
    return hn::ShiftRight<8>(hn::Add(units, hn::Set(hn::DFromV<V>(), 128)));
#endif
}

// The even words in place of the odd ones, too, which are 0.
template <class V>
HWY_INLINE V Twice(V words) {
#if HWY_ARCH_ARM
    return V(vtrn1q_u16(words.raw, words.raw));
#else
    using D = hn::DFromV<V>;
    const hn::RepartitionToWide<D> wide;
    return hn::Or(words, hn::BitCast(D(), hn::ShiftLeft<16>(hn::BitCast(wide, words))));
#endif
}
// On NEON the weights' shuffle does that.
template <class V>
HWY_INLINE V ColumnFraction(V words) {
    return HWY_ARCH_ARM ? words : Twice(words);
}

// Offsets and weights of all positions. Coordinates from 0 to 32767 have 22 bits in units of 1/128, which floats and
// words hold exactly; a position with any other is marked as uncommon and left to the plain form.
inline void Locate(const float* HWY_RESTRICT xTable, const Projection& line, const Source& from, int positions,
                   Positions& HWY_RESTRICT at) {
    const hn::ScalableTag<float> d;
    const hn::RebindToSigned<decltype(d)> dI;
    const hn::RebindToUnsigned<decltype(d)> dU;
    const hn::Repartition<uint16_t, decltype(d)> d16;
    alignas(16) static constexpr int32_t kSteps[kWarpGroupPositions] = {0, 2, 4, 6};
    const auto steps = hn::LoadDup128(dI, kSteps);
    auto lastLuma = hn::Zero(dI);
    auto lastChroma = hn::Zero(dI);
    for (int p = 0; p < positions; p += static_cast<int>(hn::Lanes(d))) {
        const auto limited = [&](auto coordinate)
                                 HWY_ATTR { return hn::Min(hn::Max(coordinate, hn::Zero(d)), hn::Set(d, 32767.0F)); };
        hn::Vec<decltype(d)> xs;
        if constexpr (hn::MaxLanes(d) == kWarpGroupPositions) {
            xs = hn::LoadU(d, xTable + p);
        } else {
            xs = hn::MaskedLoad(hn::FirstN(d, positions - p), d, xTable + p);
        }
        const auto inverse = hn::LoadU(d, at.inverse + p);
        const auto rawX = hn::Mul(Fused(d, xs, line.h0, line.baseX), inverse);
        const auto rawY = hn::Mul(Fused(d, xs, line.h3, line.baseY), inverse);
        const auto x = limited(rawX);
        const auto y = limited(rawY);
        const auto unitsX = Units(x);
        const auto unitsY = Units(y);
        const auto ix = hn::ShiftRight<7>(unitsX);
        const auto iy = hn::ShiftRight<7>(unitsY);
        const auto offset = hn::Add(ix, hn::Mul(iy, hn::Set(dI, static_cast<int32_t>(from.stride))));
        const auto chromaOffset = hn::Add(HalfUp(unitsX), hn::Mul(HalfUp(unitsY), hn::Set(dI, from.chromaPitch)));
        const auto uncommon = hn::BitCast(dU, hn::VecFromMask(d, hn::Or(hn::Ne(x, rawX), hn::Ne(y, rawY))));
        const auto uneven = hn::BitCast(dU, hn::Xor(offset, hn::Add(hn::Broadcast<0>(offset), steps)));
        const auto fractionX = hn::BitCast(d16, hn::And(unitsX, hn::Set(dI, 127)));
        const auto fractionY = hn::BitCast(d16, hn::And(unitsY, hn::Set(dI, 127)));
        const auto columnWeights = hn::Add(hn::Mul(ColumnFraction(fractionX), hn::Set(d16, 255)), hn::Set(d16, 128));
        lastLuma = hn::Max(lastLuma, offset);
        lastChroma = hn::Max(lastChroma, chromaOffset);
        hn::StoreU(offset, dI, at.offset + p);
        hn::StoreU(chromaOffset, dI, at.chromaOffset + p);
        hn::StoreU(hn::BitCast(dU, columnWeights), dU, at.columnWeights + p);
        hn::StoreU(hn::BitCast(dU, Twice(fractionY)), dU, at.rowWeights + p);
        hn::StoreU(uncommon, dU, at.uncommon + p);
        hn::StoreU(hn::Or(uncommon, uneven), dU, at.special + p);
    }
    // With these strides no offset wraps, so that none is negative.
    at.inside = from.stride >= 0 && from.stride <= 65535 &&
                hn::GetLane(hn::MaxOfLanes(dI, lastLuma)) <= from.lastLoad &&
                hn::GetLane(hn::MaxOfLanes(dI, lastChroma)) <= from.chromaSize - kWarpGroupPositions;
}

EIS_AFTER_TARGET();

#endif
