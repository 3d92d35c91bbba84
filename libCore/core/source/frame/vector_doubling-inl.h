// Samples between those of two rows, a quarter of the way along either of them. Included once a target, behind
// vector_unit.h.
#if defined(EIS_FRAME_VECTOR_DOUBLING_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef EIS_FRAME_VECTOR_DOUBLING_INL_H
#undef EIS_FRAME_VECTOR_DOUBLING_INL_H
#else
#define EIS_FRAME_VECTOR_DOUBLING_INL_H
#endif

#include <cstdint>

#include "libCore/core/source/frame/vector_ops-inl.h"

EIS_BEFORE_TARGET();

using DoublingBytes = HWY_CAPPED(uint8_t, 32);
using DoublingV = hn::Vec<DoublingBytes>;
inline constexpr int kDoublingStep = hn::MaxLanes(DoublingBytes());

// The samples of a row and their right neighbours; paired by halves of blocks where pairs are what is multiplied.
struct RowPairs {
    DoublingV a;
    DoublingV b;

    HWY_INLINE explicit RowPairs(const uint8_t* row) {
        const DoublingBytes d;
        const DoublingV samples = hn::LoadU(d, row);
        const DoublingV next = hn::LoadU(d, row + 1);
#if HWY_ARCH_ARM
        a = samples;
        b = next;
#else
        a = hn::InterleaveLower(d, samples, next);
        b = hn::InterleaveUpper(d, samples, next);
#endif
    }
};

// Stores two samples for each of `near` and its neighbour, a quarter of the way from one to the other, and a quarter of
// the way to the row `far`: sixteenths, with kBias before they are truncated.
template <int kBias>
HWY_INLINE void StoreBetween(const RowPairs& near, const RowPairs& far, uint8_t* to) {
#if HWY_ARCH_ARM
    static_assert(kBias == 0 || kBias == 8);
    const auto samples = Weighted(near.a, 3, far.a, 1);
    const auto next = Weighted(near.b, 3, far.b, 1);
    const auto quarter = [](const auto& x, const auto& y) {
        const uint16x8_t lower = vmlaq_n_u16(y.a.raw, x.a.raw, 3);
        const uint16x8_t upper = vmlaq_n_u16(y.b.raw, x.b.raw, 3);
        return kBias == 0 ? vshrn_high_n_u16(vshrn_n_u16(lower, 4), upper, 4)
                          : vrshrn_high_n_u16(vrshrn_n_u16(lower, 4), upper, 4);
    };
    const DoublingV left(quarter(samples, next));
    const DoublingV right(quarter(next, samples));
    hn::StoreInterleaved2(left, right, DoublingBytes(), to);
#else
    const hn::Repartition<uint16_t, DoublingBytes> d;
    const auto quarter = [&](DoublingV nearPairs, DoublingV farPairs, uint16_t weights) HWY_ATTR {
        const auto by = hn::BitCast(DoublingBytes(), hn::Set(d, weights));
        const auto sums = PairwiseProducts(nearPairs, by);
        const auto biased = hn::Add(PairwiseProducts(farPairs, by), hn::Set(d, kBias));
        return hn::ShiftRight<4>(hn::Add(hn::Add(sums, biased), hn::Add(sums, sums)));
    };
    const auto between = [&](DoublingV nearPairs, DoublingV farPairs) HWY_ATTR {
        const auto left = quarter(nearPairs, farPairs, 0x0103);
        const auto right = quarter(nearPairs, farPairs, 0x0301);
        return hn::BitCast(DoublingBytes(), hn::Or(left, hn::ShiftLeft<8>(right)));
    };
    StoreInterleaved(between(near.a, far.a), between(near.b, far.b), to);
#endif
}

EIS_AFTER_TARGET();

#endif
