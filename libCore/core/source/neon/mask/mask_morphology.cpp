#include "libCore/core/source/neon/mask/mask_morphology.h"

#include <algorithm>
#include <cstring>

#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/memory.h"
#include "libCore/core/source/frame/plane_view.h"
#include "libCore/core/source/neon/mask/mask_bits.h"

namespace eis {

namespace {

ret_status noMemory() {
    EIS_LOG_ERROR("Memery Allocating Error!");
    return retStsNoMemory;
}

// Runs steps(words, scratchWords, wordCount), with room for two packed copies of the mask.
template <class Steps>
ret_status withPackedRoom(const char* name, int width, int height, Steps steps) {
    if (width < 1 || height < 1) return retStsOK;
    const int wordCount = (width + 31) / 32 * height;
    const Scratch<uint32_t> words(int64_t{4} * wordCount, name);
    if (!words) return noMemory();
    const Scratch<uint32_t> scratchWords(int64_t{4} * wordCount, name);
    if (!scratchWords) return noMemory();
    steps(words.get(), scratchWords.get(), wordCount);
    return retStsOK;
}

// Runs steps(words, scratchWords, height, wordCount, padBits) on a packed copy of the mask.
template <class Steps>
ret_status onPackedMask(const char* name, uint8_t* mask, int width, int height, Steps steps) {
    return withPackedRoom(name, width, height, [&](uint32_t* words, uint32_t* scratchWords, int wordCount) {
        IVS_PackBits(mask, words, width, height, wordCount);
        steps(words, scratchWords, height, wordCount, -width & 31);
        IVS_UnpackBits(mask, words, width, height, wordCount);
    });
}

// Makes `value` of each pixel that is not sought itself, but has a sought one in the rectangle around it.
template <class Sought>
ret_status spreadValue(const char* name, const PlaneView& plane, int radiusX, int radiusY, uint8_t value,
                       Sought sought) {
    const auto& [mask, pitch, width, height] = plane;
    if (width < 1 || height < 1 || radiusX < 0 || radiusY < 0) return retStsOK;
    const int64_t size = int64_t{pitch} * height;
    const Scratch<uint8_t> copy(size, name);
    if (!copy) return noMemory();
    std::memcpy(copy.get(), mask, size);
    for (int y = 0; y < height; ++y) {
        const int top = std::max(y - radiusY, 0);
        const int bottom = std::min(y + radiusY, height - 1);
        for (int x = 0; x < width; ++x) {
            const int left = std::max(x - radiusX, 0);
            const int right = std::min(x + radiusX, width - 1);
            uint8_t& pixel = mask[int64_t{y} * pitch + x];
            for (int j = top; j <= bottom && !sought(pixel); ++j) {
                const uint8_t* row = copy.get() + int64_t{j} * pitch;
                if (std::any_of(row + left, row + right + 1, sought)) pixel = value;
            }
        }
    }
    return retStsOK;
}

}  // namespace

ret_status MaskBinarizeDilate_r3(uint8_t* mask, int width, int height, uint8_t threshold, uint8_t* scratch) {
    // A narrow plane's words would be mostly padding.
    if (width <= 32) return MaskBinarizeDilate_r3_plain(mask, width, height, threshold, scratch);
    const auto binarize = [=] {
        for (int64_t i = 0; i < int64_t{width} * height; ++i) mask[i] = mask[i] >= threshold ? 255 : 0;
    };
    // Words of few rows have no room for the clear ones that the single sweep wants around them.
    if (height < 3) {
        binarize();
        return QX_IVS_Dilation_Only_r3(mask, width, height);
    }
    const auto steps = [=](uint32_t* words, uint32_t* scratchWords, int /*wordCount*/) {
        IVS_BinarizeDilation_r3(mask, threshold, width, height, words, scratchWords);
    };
    const ret_status status = withPackedRoom("QX_IVS_Dilation_Only_r3", width, height, steps);
    if (status != retStsOK) binarize();
    return status;
}

ret_status QX_IVS_Dilation_Only_r3(uint8_t* mask, int width, int height) {
    return onPackedMask("QX_IVS_Dilation_Only_r3", mask, width, height, IVS_Dilation_r3);
}

ret_status QX_IVS_Dilation_r7_and_Erosion_r3(uint8_t* mask, int width, int height) {
    return onPackedMask("QX_IVS_Dilation_r7_and_Erosion_r3", mask, width, height,
                        [](uint32_t* words, uint32_t* scratchWords, int rows, int wordCount, int padBits) {
                            IVS_Dilation_r7(words, scratchWords, rows, wordCount, padBits);
                            IVS_Erosion_r3(words, scratchWords, rows, wordCount, padBits);
                        });
}

ret_status QX_IVS_Erosion_r3_and_Dilation_r7(uint8_t* mask, int width, int height) {
    return onPackedMask("QX_IVS_Erosion_r3_and_Dilation_r7", mask, width, height,
                        [](uint32_t* words, uint32_t* scratchWords, int rows, int wordCount, int padBits) {
                            IVS_Erosion_r3(words, scratchWords, rows, wordCount, padBits);
                            IVS_Dilation_r7(words, scratchWords, rows, wordCount, padBits);
                        });
}

ret_status Dilation(uint8_t* mask, int width, int height, int radiusX, int radiusY) {
    return spreadValue("Dilation", {mask, width, width, height}, radiusX, radiusY, 255,
                       [](uint8_t pixel) { return pixel != 0; });
}

ret_status Erosion(uint8_t* mask, int width, int height, int radiusX, int radiusY) {
    return spreadValue("Erosion", {mask, width, width, height}, radiusX, radiusY, 0,
                       [](uint8_t pixel) { return pixel == 0; });
}

}  // namespace eis
