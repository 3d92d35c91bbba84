// Look-ups in registers, in the half from its middle on of a table that is odd around it. Included once a target.
#if defined(EIS_HALF_TABLE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef EIS_HALF_TABLE_INL_H
#undef EIS_HALF_TABLE_INL_H
#else
#define EIS_HALF_TABLE_INL_H
#endif

#include <cstdint>

#include "highLevel/src/luma/half_table.h"
#include "libCore/core/source/frame/vector_ops-inl.h"

EIS_BEFORE_TARGET();

// Look-ups take vectors in pairs.
using D16 = hn::CappedTag<int16_t, 32>;
using V16 = hn::Vec<D16>;
inline constexpr int kLanes = hn::MaxLanes(D16());
struct VectorPair {
    // Constructors that the compiler makes are not for this target.
    HWY_INLINE VectorPair() {}
    HWY_INLINE VectorPair(V16 first, V16 second) : a(first), b(second) {}

    V16 a;
    V16 b;
};

// The table is complete when its words are.
HWY_INLINE void SetHalfTable(HalfTable& table) {
    for (int k = 0; k < kHalfTableEntries; ++k) {
        table.low[k] = static_cast<uint8_t>(table.words[k] & 0xFF);
        table.high[k] = static_cast<uint8_t>((table.words[k] >> 8) & 0xFF);
    }
#if HWY_TARGET != HWY_AVX3 && HWY_TARGET != HWY_NEON
    // Each sixteenth but the first as its exclusive-or with the one before.
    for (int k = kHalfTableEntries - 1; k >= 16; --k) {
        table.low[k] ^= table.low[k - 16];
        table.high[k] ^= table.high[k - 16];
    }
#endif
}

#if HWY_TARGET == HWY_NEON
// A byte of all entries, in registers: eight of them a loop can hold beside its work, sixteen if that is little.
struct HalfBytes {
    uint8x16x4_t parts[2];

    HWY_INLINE explicit HalfBytes(const uint8_t* bytes) : parts{vld1q_u8_x4(bytes), vld1q_u8_x4(bytes + 64)} {}
    // Indices are below kHalfTableEntries; `beyond` is an index less 64.
    HWY_INLINE uint8x16_t at(uint8x16_t index, uint8x16_t beyond) const {
        return vqtbx4q_u8(vqtbl4q_u8(parts[0], index), parts[1], beyond);
    }
};
#else
// Look-ups of a pair of vectors: indices are below kHalfTableEntries, and LookUpBytes wants words below 256.
#if HWY_TARGET == HWY_AVX3
HWY_INLINE V16 LookUpOne(const HalfTable& table, V16 index) {
    const D16 d;
    const auto part = [&](int i) { return hn::LoadU(d, table.words + 32 * i).raw; };
    const V16 lower{_mm512_permutex2var_epi16(part(0), index.raw, part(1))};
    const V16 upper{_mm512_permutex2var_epi16(part(2), index.raw, part(3))};
    return hn::IfThenElse(hn::TestBit(index, hn::Set(d, 64)), upper, lower);
}
HWY_INLINE VectorPair LookUpWords(const HalfTable& table, const VectorPair& index) {
    return {LookUpOne(table, index.a), LookUpOne(table, index.b)};
}
HWY_INLINE VectorPair LookUpBytes(const HalfTable& table, const VectorPair& index) {
    return LookUpWords(table, index);
}
#else
using D8 = hn::Repartition<uint8_t, D16>;
using V8 = hn::Vec<D8>;

// A shuffle reads a sixteenth of the table at the lowest four bits of an index, or gives 0 where the index is negative.
// With the index lowered by 16 from one shuffle to the next, all sixteenths up to the index's own are read, at the same
// place: as each is stored as its exclusive-or with the one before, the exclusive-or of what was read is the entry. To
// read the one sixteenth alone would take an operation more a shuffle.
HWY_INLINE V8 LookUpHalf(const uint8_t* table, V8 index) {
    const D8 d8;
    V8 sums[2] = {hn::TableLookupBytes(hn::LoadDup128(d8, table), index), hn::Zero(d8)};
    for (int i = 1; i < 8; ++i) {
        index = hn::Sub(index, hn::Set(d8, 16));
        sums[i % 2] = hn::Xor(sums[i % 2], hn::TableLookupBytesOr0(hn::LoadDup128(d8, table + 16 * i), index));
    }
    return hn::Xor(sums[0], sums[1]);
}

// Both vectors of a pair as even and odd bytes of one.
HWY_INLINE V8 PackPair(const VectorPair& pair) {
    return hn::BitCast(D8(), hn::Or(pair.a, hn::ShiftLeft<8>(pair.b)));
}
HWY_INLINE VectorPair LookUpWords(const HalfTable& table, const VectorPair& index) {
    const D16 d;
    const hn::RebindToUnsigned<D16> u;
    const V8 bytes = PackPair(index);
    const auto low = hn::BitCast(u, LookUpHalf(table.low, bytes));
    const auto high = hn::BitCast(u, LookUpHalf(table.high, bytes));
    const auto even = hn::Set(u, 0x00FF);
    return {hn::BitCast(d, hn::Or(hn::And(low, even), hn::ShiftLeft<8>(high))),
            hn::BitCast(d, hn::Or(hn::ShiftRight<8>(low), hn::AndNot(even, high)))};
}
HWY_INLINE VectorPair LookUpBytes(const HalfTable& table, const VectorPair& index) {
    const D16 d;
    const hn::RebindToUnsigned<D16> u;
    const auto low = hn::BitCast(u, LookUpHalf(table.low, PackPair(index)));
    return {hn::BitCast(d, hn::And(low, hn::Set(u, 0x00FF))), hn::BitCast(d, hn::ShiftRight<8>(low))};
}
#endif
#endif

EIS_AFTER_TARGET();

#endif
