#include "libCore/core/source/neon/resample/resample_up.h"

#include <cstring>

#define HWY_TARGET_INCLUDE "libCore/core/source/neon/resample/resample_up.cpp"
#include "libCore/core/source/frame/vector_unit.h"

#include "libCore/core/source/frame/vector_doubling-inl.h"

EIS_BEFORE_TARGET();

// One row of twice the width.
void DoubleRow(const uint8_t* HWY_RESTRICT near, const uint8_t* HWY_RESTRICT far, int width,
               uint8_t* HWY_RESTRICT dst) {
    const int last = width - 1;
    dst[0] = static_cast<uint8_t>((3 * near[0] + far[0] + 2) >> 2);
    const auto vector = [&](int x)
                            HWY_ATTR { StoreBetween<8>(RowPairs(near + x), RowPairs(far + x), dst + 2 * x + 1); };
    if (last < kDoublingStep) {
        for (int x = 0; x < last; ++x) {
            const int left = 3 * near[x] + far[x];
            const int right = 3 * near[x + 1] + far[x + 1];
            dst[2 * x + 1] = static_cast<uint8_t>((3 * left + right + 8) >> 4);
            dst[2 * x + 2] = static_cast<uint8_t>((left + 3 * right + 8) >> 4);
        }
    } else {
        for (int x = 0; x + kDoublingStep < last; x += kDoublingStep) vector(x);
        vector(last - kDoublingStep);
    }
    dst[2 * last + 1] = static_cast<uint8_t>((3 * near[last] + far[last] + 2) >> 2);
}

// `around` stands for the rows above and below the band.
void DoublePlane(const uint8_t* src, int height, int width, int64_t dstStride, uint8_t* dst,
                 const uint8_t* const* around) {
    for (int y = 0; y < height; ++y) {
        const uint8_t* row = src + int64_t{y} * width;
        DoubleRow(row, y > 0 ? row - width : around[0], width, dst);
        DoubleRow(row, y + 1 < height ? row + width : around[1], width, dst + dstStride);
        dst += 2 * dstStride;
    }
}

// The inside of one row of four times the width, from column 2 on: a sample's four follow it and lead to the next one.
// Weights are four times as large, so that sums, at most 65408, have the sample in their upper byte.
struct QuadrupleWeights {
    uint8_t upper;
    uint8_t lower;
};

HWY_INLINE void QuadrupleSample(const uint8_t* upper, const uint8_t* lower, const QuadrupleWeights& weights,
                                uint8_t* dst) {
    const int left = weights.upper * upper[0] + weights.lower * lower[0];
    const int right = weights.upper * upper[1] + weights.lower * lower[1];
    for (int k = 0; k < 4; ++k) dst[k] = static_cast<uint8_t>((8 * left + (2 * k + 1) * (right - left) + 128) >> 8);
}

using Bytes = HWY_CAPPED(uint8_t, 32);
using Columns = hn::Repartition<uint16_t, Bytes>;
using ColumnsV = hn::Vec<Columns>;

// The upper bytes of both, each pair in its place.
HWY_INLINE ColumnsV UpperBytes(ColumnsV even, ColumnsV odd) {
#if HWY_ARCH_ARM
    return ColumnsV(vsriq_n_u16(odd.raw, even.raw, 8));
#else
    return hn::Or(hn::ShiftRight<8>(even), hn::And(odd, hn::Set(Columns(), 0xFF00)));
#endif
}

HWY_INLINE void QuadrupleSums(ColumnsV left, ColumnsV right, uint8_t* dst) {
    const Columns d;
    const ColumnsV step = hn::Sub(right, left);
    const ColumnsV twice = hn::Add(step, step);
    const ColumnsV first = hn::Add(hn::Add(hn::ShiftLeft<3>(left), hn::Set(d, 128)), step);
    const ColumnsV second = hn::Add(first, twice);
    const ColumnsV third = hn::Add(second, twice);
    const ColumnsV fourth = hn::Add(third, twice);
    const ColumnsV front = UpperBytes(first, second);
    const ColumnsV back = UpperBytes(third, fourth);
    StoreInterleaved(hn::BitCast(Bytes(), hn::InterleaveLower(d, front, back)),
                     hn::BitCast(Bytes(), hn::InterleaveUpper(d, front, back)), dst);
}

// A vector of bytes, whose words stand in order.
HWY_INLINE WordPair<ColumnsV> QuadrupleWeighted(const uint8_t* upper, const uint8_t* lower,
                                                const QuadrupleWeights& weights) {
#if HWY_ARCH_ARM
    return Weighted(hn::LoadU(Bytes(), upper), weights.upper, hn::LoadU(Bytes(), lower), weights.lower);
#else
    const Columns d;
    const hn::Rebind<uint8_t, Columns> half;
    const auto sums = [&](size_t x) HWY_ATTR {
        return hn::Add(hn::Mul(hn::PromoteTo(d, hn::LoadU(half, upper + x)), hn::Set(d, weights.upper)),
                       hn::Mul(hn::PromoteTo(d, hn::LoadU(half, lower + x)), hn::Set(d, weights.lower)));
    };
    return {sums(0), sums(hn::MaxLanes(d))};
#endif
}

void QuadrupleRow(const uint8_t* HWY_RESTRICT upper, const uint8_t* HWY_RESTRICT lower, uint16_t weight, int width,
                  uint8_t* HWY_RESTRICT dst) {
    constexpr int kStep = hn::MaxLanes(Bytes());
    const QuadrupleWeights weights{static_cast<uint8_t>(4 * weight), static_cast<uint8_t>(32 - 4 * weight)};
    const int count = width - 1;
    int x = 0;
    for (; x + kStep <= count; x += kStep) {
        const auto left = QuadrupleWeighted(upper + x, lower + x, weights);
        const auto right = QuadrupleWeighted(upper + x + 1, lower + x + 1, weights);
        QuadrupleSums(left.a, right.a, dst + 4 * x);
        QuadrupleSums(left.b, right.b, dst + 4 * x + 2 * kStep);
    }
    for (; x < count; ++x) QuadrupleSample(upper + x, lower + x, weights, dst + 4 * x);
}

// An outermost row but for its last two columns.
void EdgeRow(const uint8_t* HWY_RESTRICT src, int width, uint8_t* HWY_RESTRICT dst) {
    const int last = width - 1;
    for (int x = 0; x < last; ++x) {
        dst[4 * x + 0] = src[x];
        dst[4 * x + 1] = static_cast<uint8_t>((3 * src[x] + 1 * src[x + 1]) >> 2);
        dst[4 * x + 2] = static_cast<uint8_t>((2 * src[x] + 2 * src[x + 1]) >> 2);
        dst[4 * x + 3] = static_cast<uint8_t>((1 * src[x] + 3 * src[x + 1]) >> 2);
    }
    dst[4 * last] = src[last];
    dst[4 * last + 1] = src[last];
}

// The sample of an outermost column in row `y` of the destination.
HWY_INLINE uint8_t EdgeColumn(const uint8_t* column, int64_t pitch, int height, int y) {
    const int i = y / 4;
    const int next = i + 1 < height ? i + 1 : i;
    return static_cast<uint8_t>(((4 - y % 4) * column[i * pitch] + y % 4 * column[next * pitch]) >> 2);
}

void QuadrupleRowOf(const uint8_t* src, int height, int width, int y, uint8_t* dst) {
    uint8_t* end = dst + 4 * int64_t{width};
    if (y < 2 || y >= 4 * height - 2) {
        EdgeRow(src + int64_t{y / 4} * width, width, dst);
    } else {
        const uint8_t* upper = src + int64_t{(y - 2) / 4} * width;
        dst[0] = dst[1] = EdgeColumn(src, width, height, y);
        QuadrupleRow(upper, upper + width, static_cast<uint16_t>(7 - 2 * ((y - 2) % 4)), width, dst + 2);
    }
    end[-2] = end[-1] = EdgeColumn(src + width - 1, width, height, y);
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(DoublePlane);
HWY_EXPORT(QuadrupleRowOf);

namespace {

// Whether the rows on either side of the band can be read.
struct ReadsOn {
    bool above, below;
};

void upScaleX4(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst, ReadsOn reads) {
    if (height < 1 || width < 1) return;
    const uint8_t* lastRow = src + int64_t{height - 1} * width;
    const uint8_t* const around[2] = {reads.above ? src - width : src, reads.below ? lastRow + width : lastRow};
    HWY_DYNAMIC_DISPATCH(DoublePlane)(src, height, width, dstStride, dst, around);
}

}  // namespace

void UpScaleX4_neon(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst) {
    upScaleX4(src, height, width, dstStride, dst, {false, false});
}

void UpScaleX4_TopBand_neon(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst) {
    upScaleX4(src, height, width, dstStride, dst, {false, true});
}

void UpScaleX4_MidBand_neon(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst) {
    upScaleX4(src, height, width, dstStride, dst, {true, true});
}

void UpScaleX4_BottomBand_neon(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst) {
    upScaleX4(src, height, width, dstStride, dst, {true, false});
}

void UpScaleX16_neon(const uint8_t* src, int height, int width, uint8_t* dst) {
    if (width < 1) return;
    for (int y = 0; y < 4 * height; ++y) UpScaleX16Row(src, height, width, y, dst + y * 4 * int64_t{width});
}

void UpScaleX16Row(const uint8_t* src, int height, int width, int row, uint8_t* dst) {
    HWY_DYNAMIC_DISPATCH(QuadrupleRowOf)(src, height, width, row, dst);
}

}  // namespace eis
#endif
