// The digests were computed apart from this code.
#include <algorithm>
#include <utility>
#include <vector>

#include "libCore/core/source/neon/mask/mask_bits.h"
#include "libCore/core/source/neon/mask/mask_morphology.h"
#include "tests/harness/calls.h"
#include "tests/harness/events.h"
#include "tests/harness/kernel_cases.h"

namespace eis::test {
namespace {

using Bytes = std::vector<uint8_t>;

// Set where on(x, y).
template <class On>
Bytes maskOf(int width, int height, On on) {
    Bytes mask;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) mask.push_back(on(x, y) ? 255 : 0);
    }
    return mask;
}

Bytes randomMask(int width, int height, uint64_t seed, int oneIn) {
    Random random(seed);
    return maskOf(width, height, [&](int, int) { return random.in(1, oneIn) == 1; });
}

TEST(MaskBits, PackingAgrees) {
    expectFormsAgree(0xe36cb4a4b8ff3037u, [](const KernelCase& c, bool plain) {
        const auto mask = c.bytes(c.width, c.height, c.width);
        const int wordsPerRow = (c.width + 31) / 32;
        const int count = wordsPerRow * c.height;
        auto words = c.empty<uint32_t>(wordsPerRow, c.height, wordsPerRow);
        auto back = c.empty<uint8_t>(c.width, c.height, c.width);
        (plain ? IVS_PackBits_plain : IVS_PackBits)(mask.data(), words.data(), c.width, c.height, count);
        (plain ? IVS_UnpackBits_plain : IVS_UnpackBits)(back.data(), words.data(), c.width, c.height, count);
        return std::tuple(std::move(words), std::move(back));
    });
}

TEST(MaskBits, MorphologyAgrees) {
    using Kernel = void (*)(uint32_t*, uint32_t*, int, int, int);
    const struct {
        Kernel plain;
        Kernel vectors;
        uint64_t digest;
    } kKernels[] = {{IVS_Dilation_r3_plain, IVS_Dilation_r3, 2199145977404138124u},
                    {IVS_Dilation_r7_plain, IVS_Dilation_r7, 9310554530861376284u},
                    {IVS_Erosion_r3_plain, IVS_Erosion_r3, 6927840369539636406u}};
    for (const auto& kernel : kKernels) {
        expectFormsAgree(kernel.digest, [&](const KernelCase& c, bool plain) {
            const int height = c.width > 35 ? 0 : 2 * c.height;
            const int padBits = c.seed % 4 == 0 ? 0 : static_cast<int>(c.seed % 32);
            auto words = c.empty<uint32_t>(c.width, height, c.width);
            Random random(c.seed);
            for (size_t i = 0; i < words.size(); ++i) {
                // Sparse bits for the dilations, sparse holes for the erosion, and whole words of both.
                uint64_t bits = random.bits();
                bits &= bits >> 32 & random.bits() & random.bits();
                const uint64_t kinds[] = {bits, ~bits, bits, ~bits, 0, ~uint64_t{0}};
                words.data()[i] = static_cast<uint32_t>(kinds[random.in(0, 5)]);
            }
            const auto scratch = c.empty<uint32_t>(c.width, height, c.width);
            (plain ? kernel.plain : kernel.vectors)(words.data(), scratch.data(), height, c.width * height, padBits);
            EXPECT_TRUE(scratch.paddingIntact());
            return words;
        });
    }
}

TEST(MaskMorphology, BinarizeDilateAgrees) {
    expectFormsAgree(0x763953bb1b1fda93u, [](const KernelCase& c, bool plain) {
        const uint8_t thresholds[] = {50, 250, 253, 0, 255};
        auto mask = c.bytes(c.width, c.height, c.width);
        const auto scratch = c.empty<uint8_t>(c.width, c.height, c.width);
        EXPECT_EQ((plain ? MaskBinarizeDilate_r3_plain : MaskBinarizeDilate_r3)(mask.data(), c.width, c.height,
                                                                                thresholds[c.seed % 5], scratch.data()),
                  retStsOK);
        EXPECT_TRUE(scratch.paddingIntact());
        return mask;
    });
}

TEST(MaskMorphology, PackedPairsEqualTheByteForms) {
    for (const int width : {1, 31, 32, 33, 64, 95, 96, 100}) {
        for (const int height : {1, 8, 30}) {
            SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
            for (const int oneIn : {2, 40, 400}) {
                const Bytes sparse = randomMask(width, height, width * height, oneIn);
                const Bytes dense = maskOf(width, height, [&](int x, int y) { return sparse[y * width + x] == 0; });
                for (const Bytes& mask : {sparse, dense}) {
                    // At whole words the erosion takes the last 32 columns as set.
                    const auto erode = [&](Bytes& plane) {
                        for (int y = 0; y < height && width % 32 == 0; ++y) {
                            std::fill_n(&plane[y * width] + width - 32, 32, 255);
                        }
                        EXPECT_EQ(Erosion(plane.data(), width, height, 3, 3), retStsOK);
                    };
                    const auto dilate = [&](Bytes& plane, int radius) {
                        EXPECT_EQ(Dilation(plane.data(), width, height, radius, radius), retStsOK);
                    };
                    Bytes dilated = mask;
                    dilate(dilated, 3);
                    Bytes closed = mask;
                    dilate(closed, 7);
                    erode(closed);
                    Bytes opened = mask;
                    erode(opened);
                    dilate(opened, 7);
                    const std::pair<ret_status (*)(uint8_t*, int, int), Bytes> pairs[] = {
                        {QX_IVS_Dilation_Only_r3, dilated},
                        {QX_IVS_Dilation_r7_and_Erosion_r3, closed},
                        {QX_IVS_Erosion_r3_and_Dilation_r7, opened}};
                    for (const auto& [packedForm, expected] : pairs) {
                        Bytes packed = mask;
                        EXPECT_EQ(packedForm(packed.data(), width, height), retStsOK);
                        EXPECT_EQ(packed, expected);
                    }
                }
            }
        }
    }
}

// A rectangle of two radii; a set pixel keeps its value.
TEST(MaskMorphology, ReachOfTheRectangles) {
    Bytes cross = maskOf(9, 9, [](int, int) { return false; });
    cross[4 * 9 + 4] = 7;
    Dilation(cross.data(), 9, 9, 2, 1);
    Bytes expected = maskOf(9, 9, [](int x, int y) { return x >= 2 && x <= 6 && y >= 3 && y <= 5; });
    expected[4 * 9 + 4] = 7;
    EXPECT_EQ(cross, expected);
    Erosion(cross.data(), 9, 9, 2, 1);
    EXPECT_EQ(std::count(cross.begin(), cross.end(), 0), 80);
    Dilation(cross.data(), 9, 9, 3, 0);
    EXPECT_EQ(std::count(cross.begin(), cross.end(), 0), 74) << "a row";
    Dilation(cross.data(), 9, 9, 0, 1);
    EXPECT_EQ(std::count(cross.begin(), cross.end(), 0), 60) << "a row and its neighbours";
}

TEST(MaskMorphology, WithoutMemoryTheMaskStays) {
    constexpr int kWidth = 70;
    constexpr int kHeight = 12;
    const struct {
        int allocations;
        ret_status (*run)(uint8_t* mask);
        bool binarizes;
    } kRuns[] = {
        {2, [](uint8_t* mask) { return QX_IVS_Dilation_Only_r3(mask, kWidth, kHeight); }, false},
        {2, [](uint8_t* mask) { return QX_IVS_Dilation_r7_and_Erosion_r3(mask, kWidth, kHeight); }, false},
        {2, [](uint8_t* mask) { return QX_IVS_Erosion_r3_and_Dilation_r7(mask, kWidth, kHeight); }, false},
        {2, [](uint8_t* mask) { return MaskBinarizeDilate_r3(mask, kWidth, kHeight, 50, nullptr); }, true},
        {2, [](uint8_t* mask) { return MaskBinarizeDilate_r3(mask, kWidth * kHeight / 2, 2, 50, nullptr); }, true},
        {1, [](uint8_t* mask) { return Dilation(mask, kWidth, kHeight, 2, 5); }, false},
        {1, [](uint8_t* mask) { return Erosion(mask, kWidth, kHeight, 2, 5); }, false},
    };
    const Bytes binary = randomMask(kWidth, kHeight, 3, 9);
    for (const auto& run : kRuns) {
        Bytes before = binary;
        for (uint8_t& byte : before) byte = run.binarizes ? byte / 5 : byte;
        Bytes mask;
        const int failures = failEachInTurn({
            .calls = kAllocation,
            .prepare = [&] { mask = before; },
            .run = [&] { return run.run(mask.data()); },
            .failed =
                [&](int result, int) {
                    EXPECT_EQ(result, retStsNoMemory);
                    EXPECT_TRUE(logWas({"error Memery Allocating Error!"}));
                    EXPECT_EQ(mask, binary);
                },
            .succeeded =
                [&](int result) {
                    EXPECT_EQ(result, retStsOK);
                    EXPECT_TRUE(logWas({}));
                    EXPECT_NE(mask, binary);
                },
        });
        EXPECT_EQ(failures, run.allocations);
    }
}

}  // namespace
}  // namespace eis::test
