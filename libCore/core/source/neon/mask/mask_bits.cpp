#include "libCore/core/source/neon/mask/mask_bits.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#define HWY_TARGET_INCLUDE "libCore/core/source/neon/mask/mask_bits.cpp"
#include "libCore/core/source/frame/vector_unit.h"

EIS_BEFORE_TARGET();

using Pixels = HWY_CAPPED(uint8_t, 32);
constexpr int kPixels = static_cast<int>(hn::MaxLanes(Pixels()));

// A bit for each of 32 pixels of which the test is true.
template <class Test>
HWY_INLINE uint32_t PackWord(const uint8_t* HWY_RESTRICT pixels, Test test) {
    const Pixels d;
    uint8_t bits[sizeof(uint32_t) + 8];  // a store of mask bits may write eight bytes
    for (int i = 0; i < 32; i += kPixels) hn::StoreMaskBits(d, test(hn::LoadU(d, pixels + i)), bits + i / 8);
    uint32_t word;
    std::memcpy(&word, bits, sizeof word);
    return word;
}

// Pixels of two words at once, as long as there are two: how many words that were. A tenth of a dilation's time where a
// register holds the masks of 64 pixels; elsewhere none.
template <class Test>
HWY_INLINE int PackPairs(const uint8_t* HWY_RESTRICT mask, uint32_t* HWY_RESTRICT words, int wholeWords, Test test) {
    int w = 0;
    if constexpr (HWY_TARGET <= HWY_AVX3) {
        const HWY_FULL(uint8_t) d;
        for (; w + 2 <= wholeWords; w += 2) {
            hn::StoreMaskBits(d, test(hn::LoadU(d, mask + 32 * w)), reinterpret_cast<uint8_t*>(words + w));
        }
    }
    return w;
}

HWY_INLINE int UnpackPairs(uint8_t* HWY_RESTRICT mask, const uint32_t* HWY_RESTRICT words, int wholeWords) {
    int w = 0;
    if constexpr (HWY_TARGET <= HWY_AVX3) {
        const HWY_FULL(uint8_t) d;
        for (; w + 2 <= wholeWords; w += 2) {
            const auto pixels = hn::LoadMaskBits(d, reinterpret_cast<const uint8_t*>(words + w));
            hn::StoreU(hn::VecFromMask(d, pixels), d, mask + 32 * w);
        }
    }
    return w;
}

template <class Test>
HWY_INLINE void PackRow(const uint8_t* HWY_RESTRICT mask, uint32_t* HWY_RESTRICT words, int width, Test test) {
    const int wholeWords = width / 32;
    const int rest = width % 32;
    int w = PackPairs(mask, words, wholeWords, test);
    for (; w < wholeWords; ++w) words[w] = PackWord(mask + 32 * w, test);
    if (rest == 0) return;
    if (wholeWords > 0) {
        words[wholeWords] = PackWord(mask + width - 32, test) >> (32 - rest);
    } else {
        uint8_t pixels[32] = {};
        std::memcpy(pixels, mask, rest);
        words[0] = PackWord(pixels, test) & ~(~0u << rest);
    }
}

void PackRowAtLeast(const uint8_t* mask, uint8_t threshold, uint32_t* words, int width) {
    PackRow(mask, words, width, [&](auto v) HWY_ATTR {
        const auto limit = hn::Set(hn::DFromV<decltype(v)>(), threshold);
        return hn::Eq(hn::Max(v, limit), v);
    });
}

void PackLowestBits(const uint8_t* mask, uint32_t* words, int width, int height) {
    for (int y = 0; y < height; ++y) {
        PackRow(mask + int64_t{y} * width, words + int64_t{y} * ((width + 31) / 32), width,
                [&](auto v) HWY_ATTR { return hn::TestBit(v, hn::Set(hn::DFromV<decltype(v)>(), 1)); });
    }
}

HWY_INLINE void UnpackWord(uint32_t word, uint8_t* HWY_RESTRICT pixels) {
    const Pixels d;
    uint8_t bits[sizeof word + 8] = {};  // a load of mask bits may read eight bytes
    std::memcpy(bits, &word, sizeof word);
    for (int i = 0; i < 32; i += kPixels) {
        hn::StoreU(hn::VecFromMask(d, hn::LoadMaskBits(d, bits + i / 8)), d, pixels + i);
    }
}

void UnpackRow(uint8_t* HWY_RESTRICT mask, const uint32_t* HWY_RESTRICT words, int width) {
    const int wholeWords = width / 32;
    const int rest = width % 32;
    int w = UnpackPairs(mask, words, wholeWords);
    for (; w < wholeWords; ++w) UnpackWord(words[w], mask + 32 * w);
    if (rest == 0) return;
    if (wholeWords > 0) {
        UnpackWord((words[wholeWords - 1] >> rest) | (words[wholeWords] << (32 - rest)), mask + width - 32);
    } else {
        uint8_t pixels[32];
        UnpackWord(words[0], pixels);
        std::memcpy(mask, pixels, rest);
    }
}

void UnpackRows(uint8_t* mask, const uint32_t* words, int width, int height) {
    for (int y = 0; y < height; ++y) {
        UnpackRow(mask + int64_t{y} * width, words + int64_t{y} * ((width + 31) / 32), width);
    }
}

// Dilation along the row. The pixels of each word and kRadius more on either side are laid out in two words, low and
// high; then each bit is united with the 2 * kRadius bits above it, by doubling the distance and one overlapping step.
template <int kRadius, class V>
HWY_INLINE V Spread(V previous, V words, V next) {
    static_assert(kRadius == 3 || kRadius == 7);
    V low = hn::Or(hn::ShiftRight<32 - kRadius>(previous), hn::ShiftLeft<kRadius>(words));
    V high = hn::Or(hn::ShiftRight<32 - kRadius>(words), hn::ShiftLeft<kRadius>(next));
    const auto unite = [&](auto distance) HWY_ATTR {
        constexpr int kDistance = distance;
        low = hn::Or(low, hn::Or(hn::ShiftRight<kDistance>(low), hn::ShiftLeft<32 - kDistance>(high)));
        high = hn::Or(high, hn::ShiftRight<kDistance>(high));
    };
    unite(std::integral_constant<int, 1>());
    unite(std::integral_constant<int, 2>());
    if constexpr (kRadius == 7) unite(std::integral_constant<int, 4>());
    unite(std::integral_constant<int, kRadius>());
    return low;
}

using Words = hn::ScalableTag<uint32_t>;
using OneWord = hn::CappedTag<uint32_t, 1>;

template <int kRadius, class D>
HWY_INLINE void SpreadWords(D d, const uint32_t* row, uint32_t flip, uint32_t* out) {
    const auto words = [&](int i) HWY_ATTR { return hn::Xor(hn::LoadU(d, row + i), hn::Set(d, flip)); };
    hn::StoreU(Spread<kRadius>(words(-1), words(0), words(1)), d, out);
}

// Nothing comes in from outside the row.
template <int kRadius>
void SpreadRow(const uint32_t* HWY_RESTRICT row, int count, uint32_t flip, uint32_t* HWY_RESTRICT out) {
    const int last = count - 1;
    int w = 1;
    for (; w + static_cast<int>(hn::MaxLanes(Words())) <= last; w += static_cast<int>(hn::MaxLanes(Words()))) {
        SpreadWords<kRadius>(Words(), row + w, flip, out + w);
    }
    for (; w < last; ++w) SpreadWords<kRadius>(OneWord(), row + w, flip, out + w);
    const uint32_t edges[2][3] = {{flip, row[0], last > 0 ? row[1] : flip},
                                  {row[std::max(last - 1, 0)], row[last], flip}};
    SpreadWords<kRadius>(OneWord(), &edges[0][1], flip, out);
    if (last > 0) SpreadWords<kRadius>(OneWord(), &edges[1][1], flip, out + last);
}

// A row with a clear word on either side.
template <int kRadius>
void SpreadGuardedRow(const uint32_t* HWY_RESTRICT row, int count, uint32_t* HWY_RESTRICT out) {
    constexpr int kLanes = static_cast<int>(hn::MaxLanes(Words()));
    if (count < kLanes) {
        for (int w = 0; w < count; ++w) SpreadWords<kRadius>(OneWord(), row + w, 0, out + w);
        return;
    }
    for (int w = 0; w < count; w += kLanes) {
        const int from = std::min(w, count - kLanes);
        SpreadWords<kRadius>(Words(), row + from, 0, out + from);
    }
}

template <int kRows>
void UniteRows(const uint32_t* const (&rows)[kRows], int count, uint32_t flip, uint32_t* HWY_RESTRICT out) {
    for (int w = 0; w < count; ++w) {
        uint32_t bits = 0;
        for (int r = 0; r < kRows; ++r) bits |= rows[r][w];
        out[w] = bits ^ flip;
    }
}

// Unites the rows within kRadius of row y. A row behind the plane's edge stands for the edge's.
template <int kRadius, class Row>
void UniteAround(Row rowAt, int y, int height, int count, uint32_t flip, uint32_t* out) {
    const uint32_t* rows[2 * kRadius + 1];
    for (int i = 0; i <= 2 * kRadius; ++i) rows[i] = rowAt(std::clamp(y + i - kRadius, 0, height - 1));
    UniteRows(rows, count, flip, out);
}

// Dilation of a plane whose bits are all inverted by `flip` first and after; lastKeep says which inverted bits of a
// row's last word count.
template <int kRadius>
void Dilate(uint32_t* words, uint32_t* scratchWords, int height, int wordsPerRow, uint32_t flip, uint32_t lastKeep) {
    if (wordsPerRow < 1) return;
    const int64_t pitch = wordsPerRow;
    for (int y = 0; y < height; ++y) {
        uint32_t* row = words + y * pitch;
        row[pitch - 1] = ((row[pitch - 1] ^ flip) & lastKeep) ^ flip;
        SpreadRow<kRadius>(row, wordsPerRow, flip, scratchWords + y * pitch);
    }
    for (int y = 0; y < height; ++y) {
        UniteAround<kRadius>([&](int row) { return scratchWords + row * pitch; }, y, height, wordsPerRow, flip,
                             words + y * pitch);
    }
}

void DilateBy3(uint32_t* words, uint32_t* scratchWords, int height, int wordsPerRow, uint32_t flip, uint32_t lastKeep) {
    Dilate<3>(words, scratchWords, height, wordsPerRow, flip, lastKeep);
}

void DilateBy7(uint32_t* words, uint32_t* scratchWords, int height, int wordsPerRow, uint32_t flip, uint32_t lastKeep) {
    Dilate<7>(words, scratchWords, height, wordsPerRow, flip, lastKeep);
}

// Packing, dilation and unpacking, each row as soon as it can be: the mask is read and written once, and of the words
// only a few rows are touched.
void BinarizeDilateBy3(uint8_t* mask, uint8_t threshold, int width, int height, uint32_t* words,
                       uint32_t* scratchWords) {
    constexpr int kRadius = 3;
    constexpr int kRing = 8;
    static_assert(kRing > 2 * kRadius && (kRing & (kRing - 1)) == 0);
    const int wordsPerRow = (width + 31) / 32;
    uint32_t* packed = words + 1;
    uint32_t* united = packed + wordsPerRow + 1;
    packed[-1] = packed[wordsPerRow] = 0;
    const auto spreadRow = [&](int y) HWY_ATTR { return scratchWords + int64_t{y & (kRing - 1)} * wordsPerRow; };
    PackRowAtLeast(mask, threshold, packed, width);
    for (int y = -kRadius; y < height; ++y) {
        const int entering = y + kRadius;
        if (entering < height) SpreadGuardedRow<kRadius>(packed, wordsPerRow, spreadRow(entering));
        // A row earlier than it is needed: a vector load right behind stores of its single words would stall, for
        // stores are not forwarded to a wider load.
        if (entering + 1 < height) PackRowAtLeast(mask + int64_t{entering + 1} * width, threshold, packed, width);
        if (y < 0) continue;
        UniteAround<kRadius>(spreadRow, y, height, wordsPerRow, 0, united);
        UnpackRow(mask + int64_t{y} * width, united, width);
    }
}

EIS_AFTER_TARGET();

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
