#include "libCore/core/source/neon/mask_bits.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "libCore/core/source/neon/mask_bits.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

// A word's pixels with kRadius more on either side, then each bit united with the 2 * kRadius above it: 2, 4, (8) bits
// in turn, and the rest by an overlapping step.
template <int kRadius>
HWY_INLINE uint32_t Spread(uint32_t previous, uint32_t word, uint32_t next) {
    static_assert(kRadius == 3 || kRadius == 7);
    uint64_t bits = (previous >> (32 - kRadius)) | (uint64_t{word} << kRadius) | (uint64_t{next} << (32 + kRadius));
    bits |= bits >> 1;
    bits |= bits >> 2;
    if (kRadius == 7) bits |= bits >> 4;
    bits |= bits >> kRadius;
    return static_cast<uint32_t>(bits);
}

template <int kRadius>
void SpreadRow(const uint32_t* HWY_RESTRICT row, int count, uint32_t flip, uint32_t lastKeep,
               uint32_t* HWY_RESTRICT out) {
    for (int w = 1; w < count - 2; ++w) {
        out[w] = Spread<kRadius>(row[w - 1] ^ flip, row[w] ^ flip, row[w + 1] ^ flip);
    }
    const auto word = [&](int w) {
        if (w < 0 || w >= count) return 0u;
        return (row[w] ^ flip) & (w == count - 1 ? lastKeep : ~0u);
    };
    for (const int w : {0, count - 2, count - 1}) {
        if (w >= 0) out[w] = Spread<kRadius>(word(w - 1), word(w), word(w + 1));
    }
}

// Unites kRows rows of a plane, or fewer at its top and bottom.
template <int kRows>
void UniteRows(const uint32_t* HWY_RESTRICT rows, int count, uint32_t flip, uint32_t* HWY_RESTRICT out) {
    for (int w = 0; w < count; ++w) {
        uint32_t bits = 0;
        for (int r = 0; r < kRows; ++r) bits |= rows[int64_t{r} * count + w];
        out[w] = bits ^ flip;
    }
}

void UniteRowsAtEdge(const uint32_t* HWY_RESTRICT rows, int rowCount, int count, uint32_t flip,
                     uint32_t* HWY_RESTRICT out) {
    for (int w = 0; w < count; ++w) {
        uint32_t bits = 0;
        for (int r = 0; r < rowCount; ++r) bits |= rows[int64_t{r} * count + w];
        out[w] = bits ^ flip;
    }
}

// Dilation of a plane whose bits are all inverted by `flip` first and after; lastKeep says which inverted bits of a
// row's last word count.
template <int kRadius>
void Dilate(uint32_t* words, uint32_t* scratchWords, int height, int wordsPerRow, uint32_t flip, uint32_t lastKeep) {
    if (wordsPerRow < 1) return;
    constexpr int kRows = 2 * kRadius + 1;
    const int64_t pitch = wordsPerRow;
    for (int y = 0; y < height; ++y) {
        SpreadRow<kRadius>(words + y * pitch, wordsPerRow, flip, lastKeep, scratchWords + y * pitch);
    }
    for (int y = 0; y < height; ++y) {
        const int first = y > kRadius ? y - kRadius : 0;
        const int end = y + kRadius + 1 < height ? y + kRadius + 1 : height;
        const uint32_t* rows = scratchWords + first * pitch;
        if (end - first == kRows) {
            UniteRows<kRows>(rows, wordsPerRow, flip, words + y * pitch);
        } else {
            UniteRowsAtEdge(rows, end - first, wordsPerRow, flip, words + y * pitch);
        }
    }
}

void DilateBy3(uint32_t* words, uint32_t* scratchWords, int height, int wordsPerRow, uint32_t flip, uint32_t lastKeep) {
    Dilate<3>(words, scratchWords, height, wordsPerRow, flip, lastKeep);
}

void DilateBy7(uint32_t* words, uint32_t* scratchWords, int height, int wordsPerRow, uint32_t flip, uint32_t lastKeep) {
    Dilate<7>(words, scratchWords, height, wordsPerRow, flip, lastKeep);
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(DilateBy3);
HWY_EXPORT(DilateBy7);

namespace {

// Eight mask bytes and eight bits, pixel 0 lowest in both: what the targets' byte order gives a 64-bit word.
uint32_t packEight(const uint8_t* mask) {
    uint64_t bytes;
    std::memcpy(&bytes, mask, sizeof bytes);
    return static_cast<uint32_t>(((bytes & 0x0101010101010101u) * 0x0102040810204080u) >> 56);
}

void unpackEight(uint32_t bits, uint8_t* mask) {
    // Each byte keeps its own bit; adding 127 then carries any bit to the byte's top.
    const uint64_t own = (bits & 0xFF) * 0x0101010101010101u & 0x8040201008040201u;
    const uint64_t bytes = ((own + 0x7F7F7F7F7F7F7F7Fu) >> 7 & 0x0101010101010101u) * 255;
    std::memcpy(mask, &bytes, sizeof bytes);
}

}  // namespace

void IVS_PackBits(const uint8_t* mask, uint32_t* words, int width, int height, int wordCount) {
    if (wordCount < 1) return;
    std::memset(words, 0, sizeof(uint32_t) * wordCount);
    const int64_t wordsPerRow = (width + 31) / 32;
    for (int y = 0; y < height; ++y) {
        int x = 0;
        for (; x + 8 <= width; x += 8) words[x / 32] |= packEight(mask + x) << (x % 32);
        for (; x < width; ++x) words[x / 32] |= (mask[x] & 1u) << (x % 32);
        mask += width;
        words += wordsPerRow;
    }
}

void IVS_UnpackBits(uint8_t* mask, const uint32_t* words, int width, int height, int /*wordCount*/) {
    const int64_t wordsPerRow = (width + 31) / 32;
    for (int y = 0; y < height; ++y) {
        int x = 0;
        for (; x + 8 <= width; x += 8) unpackEight(words[x / 32] >> (x % 32), mask + x);
        for (; x < width; ++x) mask[x] = (words[x / 32] >> (x % 32) & 1) != 0 ? 255 : 0;
        mask += width;
        words += wordsPerRow;
    }
}

void IVS_Dilation_r3(uint32_t* words, uint32_t* scratchWords, int height, int wordCount, int padBits) {
    if (height < 1) return;
    HWY_DYNAMIC_DISPATCH(DilateBy3)(words, scratchWords, height, wordCount / height, 0, ~0u >> padBits);
}

void IVS_Dilation_r7(uint32_t* words, uint32_t* scratchWords, int height, int wordCount, int padBits) {
    if (height < 1) return;
    HWY_DYNAMIC_DISPATCH(DilateBy7)(words, scratchWords, height, wordCount / height, 0, ~0u >> padBits);
}

// What is clear grows. Of the last word the padding must not; with no padding the shift comes out as 0, so that nothing
// of the word does.
void IVS_Erosion_r3(uint32_t* words, uint32_t* scratchWords, int height, int wordCount, int padBits) {
    if (height < 1) return;
    const uint32_t forced = ~0u << ((32 - padBits) & 31);
    HWY_DYNAMIC_DISPATCH(DilateBy3)(words, scratchWords, height, wordCount / height, ~0u, ~forced);
}

}  // namespace eis
#endif
