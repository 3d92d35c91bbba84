#include "libCore/core/source/neon/wavelet/wavelet_smooth.h"

#include <vector>

#include "tests/chroma_kernels/cases.h"

namespace eis::test {
namespace {

using Samples = std::vector<int16_t>;

constexpr int kSteps[] = {1, 2, 4, 8, 16};

// One of the two forms on a tight plane.
Samples smooth(decltype(&WaveletSmooth_neon) form, const Samples& in, int width, int step) {
    const int height = static_cast<int>(in.size()) / width;
    Samples out(in.size(), -1);
    Samples tmp(in.size());
    ST_WAVELET_LEVEL_PARAMS params{in.data(), width, out.data(), width, tmp.data(), width, width, height, step};
    form(&params);
    return out;
}

TEST(WaveletSmooth, FormsAgree) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const bool fullRange = c.seed % 4 == 0;
        // Heights that reach past the border zones of the case's step, too.
        KernelCase tall = c;
        const int step = kSteps[c.seed % 5];
        tall.height = c.height == 7 ? 2 * step + 3 : c.height;
        const int pitch = c.pitch();
        const auto source =
            tall.filled<int16_t>(tall.width, tall.height, pitch, 0, fullRange ? -32768 : 0, fullRange ? 32767 : 32640);
        const Twins<int16_t> out(c, tall.width, tall.height, pitch + 1);
        const Twins<int16_t> tmp(c, tall.width, tall.height, pitch + 2);
        ST_WAVELET_LEVEL_PARAMS params{source.data(), pitch,      out.plain.data(), pitch + 1, tmp.plain.data(),
                                       pitch + 2,     tall.width, tall.height,      step};
        WaveletSmooth_plain(&params);
        params.pDst = out.vectors.data();
        params.pTmp = tmp.vectors.data();
        WaveletSmooth_neon(&params);
        EXPECT_TRUE(out.agree()) << "step " << step;
        EXPECT_TRUE(tmp.agree()) << "step " << step;
        all.add(c, out.plain);
    });
    EXPECT_EQ(all.value(), 18250989203855874000u);
}

TEST(WaveletSmooth, HandWorkedPlaces) {
    for (const auto form : {WaveletSmooth_plain, WaveletSmooth_neon}) {
        // Step 4: of a single 4 in column width - 3, half stays there and a quarter goes four columns left. Rows all
        // alike, so that the vertical pass keeps them.
        Samples rows(64 * 16, 0);
        for (int y = 0; y < 16; ++y) rows[64 * y + 61] = 4;
        const Samples level4 = smooth(form, rows, 64, 4);
        EXPECT_EQ(level4[64 * 8 + 61], 2);
        EXPECT_EQ(level4[64 * 8 + 57], 1);
        EXPECT_EQ(level4[64 * 8 + 60], 0);

        // Columns all alike, so that the horizontal pass keeps them: at step 2 the first row rounds (1 + 0 + 1) / 2 up,
        // the last one does not.
        Samples columns(12 * 12, 0);
        for (int x = 0; x < 12; ++x) columns[x] = columns[12 * 11 + x] = 1;
        const Samples level2 = smooth(form, columns, 12, 2);
        EXPECT_EQ(level2[5], 1);
        EXPECT_EQ(level2[12 * 11 + 5], 0);

        // Step 1: two halvings spread a single 1 to both sides, one rounding does not. The last row of the horizontal
        // pass is rounded once.
        Samples spots(10 * 10, 0);
        spots[54] = spots[94] = 1;
        const Samples level1 = smooth(form, spots, 10, 1);
        EXPECT_EQ(Samples(level1.begin() + 50, level1.begin() + 60), (Samples{0, 0, 0, 1, 1, 1, 0, 0, 0, 0}));
        EXPECT_EQ(Samples(level1.begin() + 90, level1.end()), (Samples{0, 0, 0, 0, 1, 0, 0, 0, 0, 0}));

        EXPECT_EQ(smooth(form, spots, 10, 3), Samples(100, -1)) << "no such step";
        // A line no longer than the step is mirrored until the position is inside.
        EXPECT_EQ(smooth(form, Samples{0, 4, 8, 12}, 4, 4), (Samples{4, 6, 6, 8}));
    }
}

}  // namespace
}  // namespace eis::test
