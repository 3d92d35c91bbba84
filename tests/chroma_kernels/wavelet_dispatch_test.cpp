#include "libCore/core/source/neon/wavelet_dispatch.h"

#include <vector>

#include "tests/chroma_kernels/wavelet_record.h"

namespace eis::test {
namespace {

TEST(WaveletDispatch, FormsAgree) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const WaveletInputs inputs(c);
        for (const bool ghost : {false, true}) {
            const auto plainForm = ghost ? WaveletDenoiseDispatch_Ghost_plain : WaveletDenoiseDispatch_Mask_plain;
            const auto vectorForm = ghost ? WaveletDenoiseDispatch_Ghost : WaveletDenoiseDispatch_Mask;
            const WaveletPlanes planes(c);
            for (const int pass : {1, 2, 3}) {
                plainForm(inputs.record(c, planes, true), pass);
                vectorForm(inputs.record(c, planes, false), pass);
                EXPECT_TRUE(planes.agree()) << "pass " << pass;
                all.add(c, planes.samples.plain);
            }
            all.add(c, planes.firstLevel.plain);
        }
    });
    EXPECT_EQ(all.value(), 4671826274535954586u);
}

TEST(WaveletDispatch, ConstantPlaneComesBack) {
    const KernelCase c{50, 49, Content::kLow, {}, 0};
    const WaveletInputs inputs(c);
    const WaveletPlanes planes(c);
    const Plane<int16_t>& samples = planes.samples.vectors;
    const Plane<uint8_t>& firstLevel = planes.firstLevel.vectors;
    fill(firstLevel, Content::kLow, 0);
    for (const int pass : {1, 2}) {
        fill(samples, Content::kLow, 0, 100 * 128 + 64, 0);
        const uint64_t before = digest(samples);
        WaveletDenoiseDispatch_Mask(inputs.record(c, planes, false), pass);
        EXPECT_EQ(digest(samples), before);
        // The side result of each pass stands in a plane of its own.
        for (int y = 0; y < 98; ++y) EXPECT_EQ(firstLevel.at(7, y) == 101, y < 49 * pass) << pass << ", row " << y;
    }
}

TEST(WaveletDispatch, OtherPassesTouchNothing) {
    const KernelCase c{20, 9, Content::kRandom, {}, 3};
    const WaveletInputs inputs(c);
    const WaveletPlanes planes(c);
    for (const int pass : {0, 3, -1}) {
        WaveletDenoiseDispatch_Mask(inputs.record(c, planes, false), pass);
        WaveletDenoiseDispatch_Ghost(inputs.record(c, planes, false), pass);
    }
    EXPECT_TRUE(planes.agree());
}

}  // namespace
}  // namespace eis::test
