#include "libCore/core/source/neon/wavelet/wavelet_sweep.h"

#include "libCore/core/source/neon/wavelet/wavelet_dispatch.h"

#include "tests/chroma_kernels/wavelet_record.h"

namespace eis::test {
namespace {

// What the rings of a sweep may take at most.
int64_t ringSamples(const KernelCase& c) {
    return int64_t{136} * (c.width + 32) + 64;
}

// Tables whose thresholds fit 16-bit steps and such as do not, maps likewise, and floors and gains that no caller has.
void vary(const KernelCase& c, ST_WAVELET_DN_PARAMS& record) {
    if (c.seed % 8 < 6) record.satGain = static_cast<uint16_t>(c.seed % 41);
    if (c.seed % 8 == 1) record.shrinkLow = static_cast<int16_t>(c.seed * 7919);
    if (c.seed % 8 == 2) record.shrinkHigh = static_cast<int16_t>(c.seed * 104729);
}

// A plane whose middle rows are wanted; at every fifth size the rings are one sample short, and the plain form steps
// in.
TEST(WaveletSweep, BytesEqualTheComposition) {
    forEachCase([](const KernelCase& base) {
        KernelCase c = base;
        if (c.height >= 4) c.height += 11 * (c.height - 3);  // beyond the reach of all levels
        const bool fits = c.seed % 5 != 4;
        const WaveletInputs inputs(c);
        const WaveletPlanes planes(c);
        const auto source = c.bytes(c.width, c.height, c.width, 7);
        const Twins<uint8_t> out(c, c.width);
        const int64_t count = fits ? ringSamples(c) : 100;
        const Plane<int16_t> rings(static_cast<int>(count), 1);
        Random random(c.seed);
        const int first = static_cast<int>(random.in(0, c.height - 1));
        const int end = static_cast<int>(random.in(first + 1, c.height));
        if (c.seed % 3 != 0) {
            fill(planes.thresholds.vectors, c.content, c.seed, 0, 4096);
            planes.thresholds.plain.copyFrom(planes.thresholds.vectors);
        }
        for (const int pass : {1, 2}) {
            ST_WAVELET_DN_PARAMS records[] = {inputs.record(c, planes, true), inputs.record(c, planes, false)};
            for (ST_WAVELET_DN_PARAMS& record : records) vary(c, record);
            const uint64_t before = digest(planes.samples.vectors);
            WaveletDenoiseBytes_plain(records[0], pass, {source.data(), out.plain.data(), first, end});
            WaveletDenoiseBytes_neon(records[1], pass, {source.data(), out.vectors.data(), first, end},
                                     {rings.data(), count});
            EXPECT_TRUE(out.agree()) << "pass " << pass;
            EXPECT_TRUE(planes.thresholds.agree());
            EXPECT_TRUE(rings.paddingIntact());
            if (fits) {
                EXPECT_EQ(digest(planes.samples.vectors), before);
            }
            for (int y = first; y < end; ++y) {
                const int row = y + (pass - 1) * c.height;
                for (int x = 0; x < c.width; ++x) {
                    EXPECT_EQ(planes.firstLevel.vectors.at(x, row), planes.firstLevel.plain.at(x, row)) << x;
                }
            }
        }
    });
}

// In place, where three planes are enough for the rings and where they are not; samples below zero go the plain way.
// Passes other than the two do nothing.
TEST(WaveletSweep, PlanesEqualTheComposition) {
    forEachTarget([] {
        const int sizes[][2] = {{131, 90}, {64, 160}, {40, 137}, {250, 60}, {96, 33}, {300, 50}};
        for (uint64_t seed = 0; seed < 24; ++seed) {
            const auto& size = sizes[seed % 6];
            const KernelCase c{size[0], size[1], kAllContents[seed % 5 == 0 ? 0 : 5], {Placement::kAtEnd, 0}, seed};
            const testing::ScopedTrace trace(__FILE__, __LINE__, "seed " + std::to_string(seed));
            const WaveletInputs inputs(c);
            const WaveletPlanes planes(c);
            if (seed % 4 == 3) planes.samples.vectors.at(3, size[1] - 1) = -1;
            planes.samples.plain.copyFrom(planes.samples.vectors);
            const bool ghost = seed / 6 % 2 != 0;
            const auto plainForm = ghost ? WaveletDenoiseDispatch_Ghost_plain : WaveletDenoiseDispatch_Mask_plain;
            const auto vectorForm = ghost ? WaveletDenoiseDispatch_Ghost : WaveletDenoiseDispatch_Mask;
            for (const int pass : {0, 1, 2, 3}) {
                plainForm(inputs.record(c, planes, true), pass);
                vectorForm(inputs.record(c, planes, false), pass);
                EXPECT_TRUE(planes.agree()) << "pass " << pass;
                if (pass != 1) continue;
                fill(planes.samples.vectors, Content::kNatural, seed, 0, 32640);
                planes.samples.plain.copyFrom(planes.samples.vectors);
            }
        }
    });
}

}  // namespace
}  // namespace eis::test
