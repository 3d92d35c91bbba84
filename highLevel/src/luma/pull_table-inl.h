// The pull of a value towards another, from a table of their difference, in 16 bits. Included once a target.
#if defined(EIS_PULL_TABLE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef EIS_PULL_TABLE_INL_H
#undef EIS_PULL_TABLE_INL_H
#else
#define EIS_PULL_TABLE_INL_H
#endif

#include <cstdint>

#include "highLevel/src/luma/half_table-inl.h"
#include "highLevel/src/luma/recursive_filter.h"

EIS_BEFORE_TARGET();

// In 16 bits, values are Q7 differences from level 128, which reach from -128 to 383. While samples lie inside this
// window, and no table moves a value beyond its target by more than half the room on either side, no sum can wrap. The
// low band of 8-bit luma reaches -160 to 415, in patterns that pictures hardly have: strips with such samples take 32
// bits.
inline constexpr int kCentre = 128 * 128;
inline constexpr int kWindowLow = -120;
inline constexpr int kWindowHigh = 375;
inline constexpr int kRoom = 1000;  // Q7; one half of it along the row, one half down the column
// Differences within one step share an entry, so that a pull may overshoot where the entry for k steps comes within
// half a step of them; it then does so by k steps at most.
inline constexpr int kMaxOvershootSteps = kRoom / 2 / 32;

inline constexpr int kMiddle = kRecursiveLutEntries / 2;

struct PullTable {
    const int16_t* all;
    HalfTable half;
};

// Whether the table is fit for 16 bits.
inline bool SetTable(const int16_t* all, PullTable& table) {
    table.all = all;
    bool fit = true;
    for (int k = 0; k < kHalfTableEntries; ++k) {
        const int steps = k < kMiddle ? k : kMiddle;
        const int16_t pull = all[kMiddle + steps];
        const bool overshoots = steps > kMaxOvershootSteps && pull > 32 * steps - 16;
        fit = fit && all[kMiddle - steps] == -pull && pull >= 0 && pull <= 32 * steps && !overshoots;
        table.half.words[k] = pull;
    }
    SetHalfTable(table.half);
    return fit;
}

// The table as loops want it.
#if HWY_TARGET == HWY_NEON
struct LoadedTable {
    HalfBytes low;
    HalfBytes high;

    HWY_INLINE explicit LoadedTable(const PullTable& table) : low(table.half.low), high(table.half.high) {}
};
#else
struct LoadedTable {
    const HalfTable& half;

    HWY_INLINE LoadedTable(const PullTable& table) : half(table.half) {}
};
#endif

// Each base plus the table's entry for the difference from - to, which saturates far outside the table. The index
// rounds the difference (half a step upward) before its sign is taken off: the table is odd, the rounding is not.
HWY_INLINE VectorPair Pulled(const LoadedTable& table, const VectorPair& base, const VectorPair& from,
                             const VectorPair& to) {
#if HWY_TARGET == HWY_NEON
    // A rounding shift saturates at 127 steps, which the table repeats its last entry for. The sign is the difference's
    // own, for where rounding takes that to 0 the entry is 0 as well.
    const int16x8_t a = vqsubq_s16(from.a.raw, to.a.raw);
    const int16x8_t b = vqsubq_s16(from.b.raw, to.b.raw);
    const uint8x16_t index = vreinterpretq_u8_s8(vqabsq_s8(vqrshrn_high_n_s16(vqrshrn_n_s16(a, 5), b, 5)));
    const uint8x16_t beyond = vsubq_u8(index, vdupq_n_u8(64));
    const uint8x16_t low = table.low.at(index, beyond);
    const uint8x16_t high = table.high.at(index, beyond);
    const auto pulled = [](V16 start, uint8x16_t pull, int16x8_t difference) {
        const int16x8_t sign = vorrq_s16(vshrq_n_s16(difference, 15), vdupq_n_s16(1));
        return V16(vmlaq_s16(start.raw, vreinterpretq_s16_u8(pull), sign));
    };
    return {pulled(base.a, vzip1q_u8(low, high), a), pulled(base.b, vzip2q_u8(low, high), b)};
#else
    const D16 d;
    const V16 half = hn::Set(d, 16);
    const V16 last = hn::Set(d, kMiddle);
    const V16 ka = hn::ShiftRight<5>(hn::SaturatedSub(from.a, hn::Sub(to.a, half)));
    const V16 kb = hn::ShiftRight<5>(hn::SaturatedSub(from.b, hn::Sub(to.b, half)));
    const VectorPair pull = LookUpWords(table.half, {hn::Min(hn::Abs(ka), last), hn::Min(hn::Abs(kb), last)});
    return {hn::Add(base.a, WithSignOf(ka, pull.a)), hn::Add(base.b, WithSignOf(kb, pull.b))};
#endif
}

HWY_INLINE VectorPair LoadPair(const int16_t* from) {
    return {hn::Load(D16(), from), hn::Load(D16(), from + kLanes)};
}
HWY_INLINE void StorePair(const VectorPair& pair, int16_t* to) {
    hn::Store(pair.a, D16(), to);
    hn::Store(pair.b, D16(), to + kLanes);
}

EIS_AFTER_TARGET();

#endif
