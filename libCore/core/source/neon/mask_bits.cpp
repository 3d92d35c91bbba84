#include "libCore/core/source/neon/mask_bits.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "libCore/core/source/neon/mask_bits.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Pixels = HWY_CAPPED(uint8_t, 32);
constexpr int kPixels = static_cast<int>(hn::MaxLanes(Pixels()));

// A bit for each pixel of a row of which `vectorTest`, or `test` on a single one, is true.
template <class VectorTest, class Test>
HWY_INLINE void PackRow(const uint8_t* HWY_RESTRICT mask, uint32_t* HWY_RESTRICT words, int width,
                        VectorTest vectorTest, Test test) {
    const Pixels d;
    int x = 0;
    for (; x + 32 <= width; x += 32) {
        uint8_t bits[sizeof(uint32_t) + 8];  // a store of mask bits may write eight bytes
        for (int i = 0; i < 32; i += kPixels) {
            hn::StoreMaskBits(d, vectorTest(hn::LoadU(d, mask + x + i)), bits + i / 8);
        }
        std::memcpy(words + x / 32, bits, sizeof(uint32_t));
    }
    if (x == width) return;
    uint32_t word = 0;
    for (int i = 0; x + i < width; ++i) word |= (test(mask[x + i]) ? 1u : 0u) << i;
    words[x / 32] = word;
}

void PackRowAtLeast(const uint8_t* mask, uint8_t threshold, uint32_t* words, int width) {
    const auto limit = hn::Set(Pixels(), threshold);
    PackRow(
        mask, words, width, [&](auto v) HWY_ATTR { return hn::Eq(hn::Max(v, limit), v); },
        [=](uint8_t pixel) { return pixel >= threshold; });
}

void PackLowestBits(const uint8_t* mask, uint32_t* words, int width, int height) {
    const Pixels d;
    for (int y = 0; y < height; ++y) {
        PackRow(
            mask + int64_t{y} * width, words + int64_t{y} * ((width + 31) / 32), width,
            [&](auto v) HWY_ATTR { return hn::TestBit(v, hn::Set(d, 1)); },
            [](uint8_t pixel) { return (pixel & 1) != 0; });
    }
}

void UnpackRow(uint8_t* HWY_RESTRICT mask, const uint32_t* HWY_RESTRICT words, int width) {
    const Pixels d;
    for (int x = 0; x < width; x += 32) {
        uint8_t bits[sizeof(uint32_t) + 8] = {};  // a load of mask bits may read eight bytes
        std::memcpy(bits, words + x / 32, sizeof(uint32_t));
        HWY_ALIGN uint8_t pixels[32];
        uint8_t* out = x + 32 <= width ? mask + x : pixels;
        for (int i = 0; i < 32; i += kPixels) {
            hn::StoreU(hn::VecFromMask(d, hn::LoadMaskBits(d, bits + i / 8)), d, out + i);
        }
        if (out == pixels) std::memcpy(mask + x, pixels, width - x);
    }
}

void UnpackRows(uint8_t* mask, const uint32_t* words, int width, int height) {
    for (int y = 0; y < height; ++y) {
        UnpackRow(mask + int64_t{y} * width, words + int64_t{y} * ((width + 31) / 32), width);
    }
}

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

// Unites the rows within kRadius of row y.
template <int kRadius>
void UniteAround(const uint32_t* plane, int y, int height, int count, uint32_t flip, uint32_t* out) {
    const int first = std::max(y - kRadius, 0);
    const int rows = std::min(y + kRadius + 1, height) - first;
    const uint32_t* row = plane + int64_t{first} * count;
    if (rows == 2 * kRadius + 1) {
        UniteRows<2 * kRadius + 1>(row, count, flip, out);
    } else {
        UniteRowsAtEdge(row, rows, count, flip, out);
    }
}

// Dilation of a plane whose bits are all inverted by `flip` first and after; lastKeep says which inverted bits of a
// row's last word count.
template <int kRadius>
void Dilate(uint32_t* words, uint32_t* scratchWords, int height, int wordsPerRow, uint32_t flip, uint32_t lastKeep) {
    if (wordsPerRow < 1) return;
    const int64_t pitch = wordsPerRow;
    for (int y = 0; y < height; ++y) {
        SpreadRow<kRadius>(words + y * pitch, wordsPerRow, flip, lastKeep, scratchWords + y * pitch);
    }
    for (int y = 0; y < height; ++y) {
        UniteAround<kRadius>(scratchWords, y, height, wordsPerRow, flip, words + y * pitch);
    }
}

void DilateBy3(uint32_t* words, uint32_t* scratchWords, int height, int wordsPerRow, uint32_t flip, uint32_t lastKeep) {
    Dilate<3>(words, scratchWords, height, wordsPerRow, flip, lastKeep);
}

void DilateBy7(uint32_t* words, uint32_t* scratchWords, int height, int wordsPerRow, uint32_t flip, uint32_t lastKeep) {
    Dilate<7>(words, scratchWords, height, wordsPerRow, flip, lastKeep);
}

// Packing, dilation and unpacking, each row as soon as it can be: the mask is read and written once.
void BinarizeDilateBy3(uint8_t* mask, uint8_t threshold, int width, int height, uint32_t* words,
                       uint32_t* scratchWords) {
    constexpr int kRadius = 3;
    const int wordsPerRow = (width + 31) / 32;
    const int64_t pitch = wordsPerRow;
    int ready = 0;
    for (int y = 0; y < height; ++y) {
        for (; ready < std::min(y + kRadius + 1, height); ++ready) {
            uint32_t* row = words + ready * pitch;
            PackRowAtLeast(mask + int64_t{ready} * width, threshold, row, width);
            SpreadRow<kRadius>(row, wordsPerRow, 0, ~0u >> (-width & 31), scratchWords + ready * pitch);
        }
        UniteAround<kRadius>(scratchWords, y, height, wordsPerRow, 0, words + y * pitch);
        UnpackRow(mask + int64_t{y} * width, words + y * pitch, width);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(DilateBy3);
HWY_EXPORT(DilateBy7);
HWY_EXPORT(PackLowestBits);
HWY_EXPORT(BinarizeDilateBy3);
HWY_EXPORT(UnpackRows);

void IVS_PackBits(const uint8_t* mask, uint32_t* words, int width, int height, int wordCount) {
    if (wordCount < 1) return;
    HWY_DYNAMIC_DISPATCH(PackLowestBits)(mask, words, width, height);
    const int64_t written = int64_t{(width + 31) / 32} * height;
    if (written < wordCount) std::fill(words + std::max<int64_t>(written, 0), words + wordCount, 0u);
}

void IVS_UnpackBits(uint8_t* mask, const uint32_t* words, int width, int height, int /*wordCount*/) {
    HWY_DYNAMIC_DISPATCH(UnpackRows)(mask, words, width, height);
}

void IVS_Dilation_r3(uint32_t* words, uint32_t* scratchWords, int height, int wordCount, int padBits) {
    if (height < 1) return;
    HWY_DYNAMIC_DISPATCH(DilateBy3)(words, scratchWords, height, wordCount / height, 0, ~0u >> padBits);
}

void IVS_BinarizeDilation_r3(uint8_t* mask, uint8_t threshold, int width, int height, uint32_t* words,
                             uint32_t* scratchWords) {
    HWY_DYNAMIC_DISPATCH(BinarizeDilateBy3)(mask, threshold, width, height, words, scratchWords);
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
