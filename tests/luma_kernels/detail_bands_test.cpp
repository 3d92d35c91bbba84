// The digests were computed apart from this code.
#include <algorithm>
#include <vector>

#include "highLevel/src/gradient_planes.h"
#include "highLevel/src/shrink_band.h"
#include "libCore/core/source/shrink_lut.h"
#include "tests/harness/kernel_cases.h"

namespace eis::test {
namespace {

using Bytes = std::vector<uint8_t>;
using Samples = std::vector<int16_t>;

TEST(GradientPlanes, FormsAgree) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const bool any = c.seed % 3 == 0;
        const int threshold = c.seed % 7 == 6 ? static_cast<int>(c.seed) - 300 : 10;
        const auto low = c.filled<int16_t>(c.width, c.height, c.pitch(), 0, any ? -32768 : -160, any ? 32767 : 415);
        const auto plain = c.empty<uint8_t>(c.width, 3 * c.height, c.width);
        const auto vectors = c.empty<uint8_t>(c.width, 3 * c.height, c.width);
        GradientPlanes_plain(low.data(), plain.data(), c.width, c.height, c.pitch(), threshold);
        GradientPlanes(low.data(), vectors.data(), c.width, c.height, c.pitch(), threshold);
        EXPECT_TRUE(agree(plain, vectors));
        all.add(c, plain);
    });
    EXPECT_EQ(all.value(), 0xe4d9b1968a8e1b9eu);
}

// The middle of 3x3 samples in the three planes.
Bytes gradientsOf(const Samples& window) {
    Bytes planes(27, 99);
    GradientPlanes(window.data(), planes.data(), 3, 3, 3, 10);
    for (int i = 0; i < 27; ++i) {
        if (i % 9 == 4) continue;
        EXPECT_EQ(planes[i], 0) << i;
    }
    return {planes[4], planes[13], planes[22]};
}

TEST(GradientPlanes, ThresholdMeanAndLimit) {
    EXPECT_EQ(gradientsOf({0, 0, 9, 0, 0, 0, 0, 0, 0}), (Bytes{0, 0, 0}));
    EXPECT_EQ(gradientsOf({0, 0, 10, 0, 0, 0, 0, 0, 0}), (Bytes{10, 10, 10}));
    EXPECT_EQ(gradientsOf({0, 0, 1, 0, 0, 5, 0, 0, 0}), (Bytes{11, 0, 6}));
    EXPECT_EQ(gradientsOf({0, 0, 0, 0, 0, 0, -3, -9, 0}), (Bytes{0, 21, 11}));
    EXPECT_EQ(gradientsOf({-160, 0, 415, -160, 0, 415, -160, 0, 415}), (Bytes{255, 0, 128}));
    EXPECT_EQ(gradientsOf(Samples(9, 255)), (Bytes{0, 0, 0}));
}

struct Shrink {
    int32_t guardLimit;
    uint16_t topMix;
};

TEST(ShrinkDetailBand, FormsAgree) {
    constexpr Shrink kShrinks[] = {{50, 614}, {50, 614}, {1, 614}, {300, 1024}, {7, 65535}, {0, 614}, {-5, 614}};
    std::vector<Samples> luts;
    for (const int strength : {0, 64, 128, 400}) {
        luts.emplace_back(1024);
        BuildShrinkLut(luts.back().data(), strength);
    }
    luts.emplace_back();
    Random random(9);
    for (int i = 0; i < 1024; ++i) luts.back().push_back(static_cast<int16_t>(random.in(-32768, 32767)));
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        // Coefficients of 8-bit luma, and any.
        const int reach = c.seed % 3 == 0 ? 32767 : 510;
        const auto plain = c.filled<int16_t>(c.width, c.height, c.pitch(), 0, -reach - 1, reach);
        const auto vectors = c.filled<int16_t>(c.width, c.height, c.pitch(), 0, -reach - 1, reach);
        const auto guard = c.filled<uint8_t>(c.width, c.height, c.width + 1, 1, 0, c.seed % 4 == 0 ? 255 : 60);
        const Shrink& shrink = kShrinks[c.seed % std::size(kShrinks)];
        ShrinkBandArgs args{plain.data(),
                            c.pitch(),
                            guard.data(),
                            guard.pitch(),
                            c.width,
                            c.height,
                            luts[c.seed % luts.size()].data(),
                            shrink.guardLimit,
                            shrink.topMix};
        ShrinkDetailBand_plain(&args);
        args.pBand = vectors.data();
        ShrinkDetailBand(&args);
        EXPECT_TRUE(agree(plain, vectors));
        all.add(c, plain);
    });
    EXPECT_EQ(all.value(), 0x3de9d8ff3f4fcc28u);
}

// One row through a table that clears everything but one coefficient.
Samples shrunk(Samples row, const Bytes& guard) {
    Samples lut(1024);
    lut[512 + 200] = 100;
    const auto width = static_cast<int32_t>(row.size());
    const ShrinkBandArgs args{row.data(), width, guard.data(), width, width, 1, lut.data(), 50, 614};
    ShrinkDetailBand(&args);
    return row;
}

TEST(ShrinkDetailBand, GuardsKeep) {
    // (100 * 20m + 512) / 1024 up to the cap of 614; untouched from 50 on.
    EXPECT_EQ(shrunk(Samples(8, 100), {0, 1, 10, 30, 31, 49, 50, 255}), (Samples{0, 2, 20, 59, 60, 60, 100, 100}));
    // What the table leaves: (100 * (1024 - 20m) + 200 * 20m + 512) / 1024.
    EXPECT_EQ(shrunk(Samples(8, 200), {0, 1, 10, 30, 31, 49, 50, 255}),
              (Samples{100, 102, 120, 159, 160, 160, 200, 200}));
    EXPECT_EQ(shrunk(Samples(8, 0), {0, 1, 10, 30, 31, 49, 50, 255}), Samples(8, 0));
    // Negative halves go up.
    EXPECT_EQ(shrunk({-100, -128, -127, -512, -511, 511, 1, -1}, {10, 2, 2, 10, 0, 10, 49, 49}),
              (Samples{-20, -5, -5, -100, 0, 100, 1, -1}));
}

TEST(ShrinkDetailBand, SecondSweepShrinksTwice) {
    // 200 leaves 100, and 100 leaves nothing.
    for (const int width : {1, 7, 8, 9, 13, 16, 20}) {
        const Samples row = shrunk(Samples(width, 200), Bytes(width));
        for (int x = 0; x < width; ++x) {
            const bool twice = width > 8 && width % 8 != 0 && x >= width - 8 && x < width / 8 * 8;
            EXPECT_EQ(row[x], twice ? 0 : 100) << "width " << width << ", column " << x;
        }
    }
}

}  // namespace
}  // namespace eis::test
