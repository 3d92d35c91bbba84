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
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const auto mask = c.bytes(c.width, c.height, c.width);
        const int wordsPerRow = (c.width + 31) / 32;
        const auto plain = c.empty<uint32_t>(wordsPerRow, c.height, wordsPerRow);
        const auto fast = c.empty<uint32_t>(wordsPerRow, c.height, wordsPerRow);
        IVS_PackBits_plain(mask.data(), plain.data(), c.width, c.height, wordsPerRow * c.height);
        IVS_PackBits(mask.data(), fast.data(), c.width, c.height, wordsPerRow * c.height);
        EXPECT_TRUE(agree(plain, fast));
        all.add(c, plain);
        const auto back = c.empty<uint8_t>(c.width, c.height, c.width);
        IVS_UnpackBits_plain(mask.data(), plain.data(), c.width, c.height, wordsPerRow * c.height);
        IVS_UnpackBits(back.data(), fast.data(), c.width, c.height, wordsPerRow * c.height);
        EXPECT_TRUE(agree(mask, back));
        all.add(c, back);
    });
    EXPECT_EQ(all.value(), 0xe36cb4a4b8ff3037u);
}

TEST(MaskBits, MorphologyAgrees) {
    using Kernel = void (*)(uint32_t*, uint32_t*, int, int, int);
    const struct {
        const char* name;
        Kernel plain;
        Kernel vectors;
        uint64_t digest;
    } kKernels[] = {{"dilation 3", IVS_Dilation_r3_plain, IVS_Dilation_r3, 0x602e519245668f4c},
                    {"dilation 7", IVS_Dilation_r7_plain, IVS_Dilation_r7, 0xdc92e0b870aba9dc},
                    {"erosion 3", IVS_Erosion_r3_plain, IVS_Erosion_r3, 0x4f154ab2a79d6d76}};
    for (const auto& kernel : kKernels) {
        SCOPED_TRACE(kernel.name);
        CaseDigest all;
        forEachCase([&](const KernelCase& c) {
            // To two vectors and three words; a full plane of rows for the middle ones.
            if (c.width > 35) return;
            const int height = 2 * c.height;
            const int padBits = c.seed % 4 == 0 ? 0 : static_cast<int>(c.seed % 32);
            const auto plain = c.empty<uint32_t>(c.width, height, c.width);
            const auto vectors = c.empty<uint32_t>(c.width, height, c.width);
            Random random(c.seed);
            for (size_t i = 0; i < plain.size(); ++i) {
                // Sparse bits for the dilations, sparse holes for the erosion, and whole words of both.
                uint64_t bits = random.bits();
                bits &= bits >> 32 & random.bits() & random.bits();
                const uint64_t words[] = {bits, ~bits, bits, ~bits, 0, ~uint64_t{0}};
                plain.data()[i] = static_cast<uint32_t>(words[random.in(0, 5)]);
            }
            std::copy_n(plain.data(), plain.size(), vectors.data());
            const auto scratch = c.empty<uint32_t>(c.width, height, c.width);
            kernel.plain(plain.data(), scratch.data(), height, c.width * height, padBits);
            kernel.vectors(vectors.data(), scratch.data(), height, c.width * height, padBits);
            EXPECT_TRUE(agree(plain, vectors));
            EXPECT_TRUE(scratch.paddingIntact());
            all.add(c, plain);
        });
        EXPECT_EQ(all.value(), kernel.digest);
    }
    uint32_t word = 5;
    IVS_Dilation_r7(&word, &word, 0, 1, 0);
    EXPECT_EQ(word, 5u);
}

TEST(MaskMorphology, BinarizeDilateAgrees) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const uint8_t thresholds[] = {50, 250, 253, 0, 255};
        const uint8_t threshold = thresholds[c.seed % 5];
        const auto plain = c.bytes(c.width, c.height, c.width);
        const auto vectors = c.bytes(c.width, c.height, c.width);
        const auto scratch = c.empty<uint8_t>(c.width, c.height, c.width);
        EXPECT_EQ(MaskBinarizeDilate_r3_plain(plain.data(), c.width, c.height, threshold, scratch.data()), retStsOK);
        EXPECT_EQ(MaskBinarizeDilate_r3(vectors.data(), c.width, c.height, threshold, scratch.data()), retStsOK);
        EXPECT_TRUE(agree(plain, vectors));
        EXPECT_TRUE(scratch.paddingIntact());
        all.add(c, plain);
    });
    EXPECT_EQ(all.value(), 0x763953bb1b1fda93u);
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

TEST(MaskMorphology, ReachOfTheSquares) {
    Bytes corner = maskOf(100, 9, [](int x, int y) { return x == 0 && y == 0; });
    QX_IVS_Dilation_Only_r3(corner.data(), 100, 9);
    EXPECT_EQ(corner, maskOf(100, 9, [](int x, int y) { return x < 4 && y < 4; }));
    // A closing that fills gaps of up to fourteen and leaves the rest grown by four.
    Bytes gap = maskOf(100, 30, [](int x, int y) { return (x < 40 || x > 53) && y < 10; });
    QX_IVS_Dilation_r7_and_Erosion_r3(gap.data(), 100, 30);
    EXPECT_EQ(gap, maskOf(100, 30, [](int, int y) { return y < 14; }));
    // A rectangle of two radii; a set pixel keeps its value.
    Bytes cross = maskOf(9, 9, [](int, int) { return false; });
    cross[4 * 9 + 4] = 7;
    Dilation(cross.data(), 9, 9, 2, 1);
    Bytes expected = maskOf(9, 9, [](int x, int y) { return x >= 2 && x <= 6 && y >= 3 && y <= 5; });
    expected[4 * 9 + 4] = 7;
    EXPECT_EQ(cross, expected);
    Erosion(cross.data(), 9, 9, 2, 1);
    EXPECT_EQ(std::count(cross.begin(), cross.end(), 0), 80);
    EXPECT_EQ(cross[4 * 9 + 4], 7);
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
