// The digests were computed apart from this code.
#include <utility>
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

TEST(ShrinkDetailBand, FormsAgree) {
    constexpr std::pair<int32_t, uint16_t> kShrinks[] = {{50, 614},  {50, 614}, {1, 614}, {300, 1024},
                                                         {7, 65535}, {0, 614},  {-5, 614}};
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
        const auto& [guardLimit, topMix] = kShrinks[c.seed % std::size(kShrinks)];
        ShrinkBandArgs args{
            plain.data(), c.pitch(), guard.data(), guard.pitch(), c.width, c.height, luts[c.seed % luts.size()].data(),
            guardLimit,   topMix};
        ShrinkDetailBand_plain(&args);
        args.pBand = vectors.data();
        ShrinkDetailBand(&args);
        EXPECT_TRUE(agree(plain, vectors));
        all.add(c, plain);
    });
    EXPECT_EQ(all.value(), 0x3de9d8ff3f4fcc28u);
}

// Through a table that leaves 100 of 200 and nothing of 100, with what guards keep: the share grows to 614 of 1024, and
// from 50 on the sample is untouched. A row that is no whole number of eights shrinks some samples twice.
TEST(ShrinkDetailBand, GuardsAndSecondSweep) {
    Samples lut(1024);
    lut[512 + 200] = 100;
    const auto shrunk = [&](Samples row, const Bytes& guard) {
        const auto width = static_cast<int32_t>(row.size());
        const ShrinkBandArgs args{row.data(), width, guard.data(), width, width, 1, lut.data(), 50, 614};
        ShrinkDetailBand(&args);
        return row;
    };
    const Bytes guard{0, 1, 10, 30, 31, 49, 50, 255};
    EXPECT_EQ(shrunk(Samples(8, 100), guard), (Samples{0, 2, 20, 59, 60, 60, 100, 100}));
    EXPECT_EQ(shrunk(Samples(8, 200), guard), (Samples{100, 102, 120, 159, 160, 160, 200, 200}));
    EXPECT_EQ(shrunk(Samples(9, 200), Bytes(9)), (Samples{100, 0, 0, 0, 0, 0, 0, 0, 100}));
}

}  // namespace
}  // namespace eis::test
