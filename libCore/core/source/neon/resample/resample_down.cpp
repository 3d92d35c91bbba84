#include "libCore/core/source/neon/resample/resample_down.h"

#include <cstring>

#include "libCore/core/source/frame/alignment.h"

#define HWY_TARGET_INCLUDE "libCore/core/source/neon/resample/resample_down.cpp"
#include "libCore/core/source/frame/vector_unit.h"

#include "libCore/core/source/frame/vector_ops-inl.h"

EIS_BEFORE_TARGET();

// A block's samples of a row are read as one word and added inside it: no lane ever changes places. The sums do not
// depend on the order of bytes.
template <class Word>
HWY_INLINE Word LoadWord(const uint8_t* samples) {
    Word word;
    memcpy(&word, samples, sizeof word);
    return word;
}

// Two sums of two samples each, in 16 bits each: four rows of them stay below 2048.
HWY_INLINE uint32_t SumOfPairs(const uint8_t* samples) {
    const auto word = LoadWord<uint32_t>(samples);
    return (word & 0x00FF00FFu) + ((word >> 8) & 0x00FF00FFu);
}

HWY_INLINE uint16_t MeanOfPair(const uint8_t* samples) {
    const auto word = LoadWord<uint16_t>(samples);
    return static_cast<uint16_t>(((word & 0xFF) + (word >> 8) + 1) >> 1);
}

void BoxRow4x4(const uint8_t* HWY_RESTRICT r0, const uint8_t* HWY_RESTRICT r1, const uint8_t* HWY_RESTRICT r2,
               const uint8_t* HWY_RESTRICT r3, int count, uint8_t* HWY_RESTRICT dst) {
    int x = 0;
#if HWY_ARCH_ARM
    const auto pairSums = [&](int i) HWY_ATTR {
        const auto upper = vpadalq_u8(vpaddlq_u8(vld1q_u8(r0 + i)), vld1q_u8(r1 + i));
        return vpadalq_u8(vpadalq_u8(upper, vld1q_u8(r2 + i)), vld1q_u8(r3 + i));
    };
    for (; x + 16 <= count; x += 16) {
        const auto lower = vpaddq_u16(pairSums(4 * x), pairSums(4 * x + 16));
        const auto upper = vpaddq_u16(pairSums(4 * x + 32), pairSums(4 * x + 48));
        vst1q_u8(dst + x, vrshrn_high_n_u16(vrshrn_n_u16(lower, 4), upper, 4));
    }
#endif
    for (; x < count; ++x) {
        const uint32_t sums =
            SumOfPairs(r0 + 4 * x) + SumOfPairs(r1 + 4 * x) + SumOfPairs(r2 + 4 * x) + SumOfPairs(r3 + 4 * x);
        dst[x] = static_cast<uint8_t>(((sums & 0xFFFF) + (sums >> 16) + 8) >> 4);
    }
}

#if HWY_ARCH_ARM
HWY_INLINE uint8x16_t MeansOfPairs(const uint8_t* samples) {
    const uint8x16x2_t pairs = vld2q_u8(samples);
    return vrhaddq_u8(pairs.val[0], pairs.val[1]);
}
#endif

void MeansOfPairs(const uint8_t* HWY_RESTRICT row, int count, uint8_t* HWY_RESTRICT means) {
    int x = 0;
#if HWY_ARCH_ARM
    for (; x + 16 <= count; x += 16) vst1q_u8(means + x, MeansOfPairs(row + 2 * x));
#endif
    for (; x < count; ++x) means[x] = static_cast<uint8_t>(MeanOfPair(row + 2 * x));
}

void BoxRow2x2(const uint8_t* HWY_RESTRICT upperMeans, const uint8_t* HWY_RESTRICT lower, int count,
               uint8_t* HWY_RESTRICT dst) {
    int x = 0;
#if HWY_ARCH_ARM
    for (; x + 16 <= count; x += 16) {
        vst1q_u8(dst + x, vrhaddq_u8(vld1q_u8(upperMeans + x), MeansOfPairs(lower + 2 * x)));
    }
#endif
    for (; x < count; ++x) {
        dst[x] = static_cast<uint8_t>((upperMeans[x] + MeanOfPair(lower + 2 * x) + 1) >> 1);
    }
}

void Box4x4(const uint8_t* src, int64_t pitch, int width, int height, uint8_t* dst) {
    const int count = width / 4;
    for (int y = 0; y < height / 4; ++y) {
        BoxRow4x4(src, src + pitch, src + 2 * pitch, src + 3 * pitch, count, dst);
        src += 4 * pitch;
        dst += count;
    }
}

// One row after the other: hardware prefetching follows one stream better than two that take turns.
void Box2x2(const uint8_t* src, int64_t pitch, int width, int height, uint8_t* dst) {
    constexpr int kStrip = 8192;
    uint8_t upperMeans[kStrip];
    const int columns = width / 2;
    for (int y = 0; y < height / 2; ++y) {
        for (int x = 0; x < columns; x += kStrip) {
            const int count = columns - x < kStrip ? columns - x : kStrip;
            MeansOfPairs(src + 2 * x, count, upperMeans);
            BoxRow2x2(upperMeans, src + pitch + 2 * x, count, dst + x);
        }
        src += 2 * pitch;
        dst += columns;
    }
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(Box4x4);
HWY_EXPORT(Box2x2);

void DownScaleBox4x4_neon(const uint8_t* src, int height, int width, uint8_t* dst) {
    HWY_DYNAMIC_DISPATCH(Box4x4)(src, stride128(width), width, height, dst);
}

void DownScaleBox2x2_Stride_neon(const uint8_t* src, int height, int width, uint8_t* dst) {
    DownScaleBox2x2_neon(src, stride128(width), dst, width, height);
}

void DownScaleBox2x2_Tight_neon(const uint8_t* src, int height, int width, uint8_t* dst) {
    DownScaleBox2x2_neon(src, width, dst, width, height);
}

void DownScaleBox2x2_neon(const uint8_t* src, int srcStride, uint8_t* dst, int width, int height) {
    HWY_DYNAMIC_DISPATCH(Box2x2)(src, srcStride, width, height, dst);
}

}  // namespace eis
#endif
