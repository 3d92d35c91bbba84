#include <algorithm>

#include "libCore/core/source/neon/mask/mask_bits.h"

namespace eis {

namespace {

struct BitPlane {
    const uint32_t* words;
    int wordsPerRow;

    bool at(int x, int y) const { return (words[int64_t{y} * wordsPerRow + x / 32] >> (x % 32) & 1) != 0; }
};

struct Reach {
    int x, y;
};

// Each bit of `to` tells whether any bit within reach of it is `sought`, as read
// by `bit(x, y)`.
template <class Bit>
void search(uint32_t* to, int wordsPerRow, int height, Reach reach, bool sought, Bit bit) {
    const int bits = 32 * wordsPerRow;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < bits; ++x) {
            bool found = false;
            for (int j = std::max(y - reach.y, 0); j <= std::min(y + reach.y, height - 1); ++j) {
                for (int i = std::max(x - reach.x, 0); i <= std::min(x + reach.x, bits - 1); ++i) {
                    found = found || bit(i, j) == sought;
                }
            }
            uint32_t& word = to[int64_t{y} * wordsPerRow + x / 32];
            const uint32_t mask = 1u << (x % 32);
            word = found == sought ? word | mask : word & ~mask;
        }
    }
}

// A packed mask, room for another one, and their size.
struct PackedMask {
    uint32_t* words;
    uint32_t* scratchWords;
    int height;
    int wordCount;
    int padBits;
};

void morph(const PackedMask& mask, int radius, bool dilate) {
    if (mask.height < 1) return;
    const int wordsPerRow = mask.wordCount / mask.height;
    const BitPlane source{mask.words, wordsPerRow};
    const BitPlane scratch{mask.scratchWords, wordsPerRow};
    const int pixels = 32 * wordsPerRow - mask.padBits;
    const int firstForced = !dilate && mask.padBits == 0 ? pixels - 32 : pixels;
    search(mask.scratchWords, wordsPerRow, mask.height, {radius, 0}, dilate,
           [&](int x, int y) { return x < firstForced ? source.at(x, y) : !dilate; });
    search(mask.words, wordsPerRow, mask.height, {0, radius}, dilate, [&](int x, int y) { return scratch.at(x, y); });
}

}  // namespace

void IVS_PackBits_plain(const uint8_t* mask, uint32_t* words, int width, int height, int wordCount) {
    std::fill_n(words, std::max(wordCount, 0), 0u);
    const int64_t wordsPerRow = (width + 31) / 32;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            words[y * wordsPerRow + x / 32] |= (mask[int64_t{y} * width + x] & 1u) << (x % 32);
        }
    }
}

void IVS_UnpackBits_plain(uint8_t* mask, const uint32_t* words, int width, int height, int /*wordCount*/) {
    const BitPlane plane{words, (width + 31) / 32};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) mask[int64_t{y} * width + x] = plane.at(x, y) ? 255 : 0;
    }
}

void IVS_Dilation_r3_plain(uint32_t* words, uint32_t* scratchWords, int height, int wordCount, int padBits) {
    morph({words, scratchWords, height, wordCount, padBits}, 3, true);
}

void IVS_Dilation_r7_plain(uint32_t* words, uint32_t* scratchWords, int height, int wordCount, int padBits) {
    morph({words, scratchWords, height, wordCount, padBits}, 7, true);
}

void IVS_Erosion_r3_plain(uint32_t* words, uint32_t* scratchWords, int height, int wordCount, int padBits) {
    morph({words, scratchWords, height, wordCount, padBits}, 3, false);
}

}  // namespace eis
