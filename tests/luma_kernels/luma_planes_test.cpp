#include <numeric>
#include <vector>

#include "highLevel/src/luma/detail_map.h"
#include "highLevel/src/luma/gradient_planes.h"
#include "highLevel/src/luma/plane_convert.h"
#include "highLevel/src/luma/remix_detail.h"
#include "highLevel/src/luma/shrink_band.h"
#include "libCore/core/source/control/shrink_lut.h"
#include "tests/harness/calls.h"
#include "tests/harness/kernel_cases.h"

namespace eis::test {
namespace {

using Bytes = std::vector<uint8_t>;
using Samples = std::vector<int16_t>;

TEST(PlaneConvert, FormsAgree) {
    expectFormsAgree(0xa5c7e340c9f64cd6u, [](const KernelCase& c, bool plain) {
        const auto wide = c.filled<int16_t>(c.width, c.height, c.width, 1, -400, 600);
        auto narrow = c.empty<uint8_t>(c.width, c.height, c.width);
        (plain ? NarrowPlaneSat_plain : NarrowPlaneSat)(wide.data(), narrow.data(), c.width, c.height);
        return narrow;
    });
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const auto luma = c.bytes(c.width, c.height, (c.width + 127) / 128 * 128);
        const auto wide = c.empty<int16_t>(c.width, c.height, c.width);
        WidenPlane128(luma.data(), wide.data(), c.width, c.height);
        EXPECT_TRUE(wide.paddingIntact());
        all.add(c, wide);
    });
    EXPECT_EQ(all.value(), 0xb67d00da71ffab57u);
}

TEST(Medians, FormsAgree) {
    expectFormsAgree(0xf8a77c9cd47e8b81u, [](const KernelCase& c, bool plain) {
        const auto source = c.bytes(c.width, c.height, c.pitch());
        const auto line = c.empty<uint8_t>(c.width, 1, c.width);
        auto wide = c.empty<int16_t>(c.width, c.height, c.width);
        Median3x3ToWide(source.data(), wide.data(), c.width, c.height, c.pitch(), line.data());
        for (int y = 1; y < c.height - 1 && plain; ++y) {
            Median3x3Row_plain(source.row(y - 1), source.row(y), source.row(y + 1), c.width, line.data());
            std::copy_n(line.data(), c.width, wide.row(y));
        }
        EXPECT_TRUE(line.paddingIntact());
        return wide;
    });
    expectFormsAgree(0xfd606f96ad714f93u, [](const KernelCase& c, bool plain) {
        auto plane = c.bytes(c.width, c.height, c.width);
        const auto tmp = c.empty<uint8_t>(c.width, c.height, c.width);
        (plain ? Median3x3Separable_plain : Median3x3Separable)(plane.data(), c.width, c.height, tmp.data());
        EXPECT_TRUE(tmp.paddingIntact());
        return plane;
    });
}

TEST(GaussRemap, FormsAgree) {
    constexpr int kSigmas[] = {100, 600, 125, 0, -1, 3200, 1, INT32_MAX};
    constexpr int kCentres[] = {130, 150, 200, 0, 255, -70000, INT32_MIN};
    expectFormsAgree(0xb4a443e54b52aabeu, [&](const KernelCase& c, bool plain) {
        auto plane = c.bytes(c.width, c.height, c.pitch());
        (plain ? GaussRemapPlane_plain : GaussRemapPlane)(plane.data(), c.pitch(), c.width, c.height,
                                                          kSigmas[c.seed % std::size(kSigmas)],
                                                          kCentres[c.seed % std::size(kCentres)]);
        return plane;
    });
}

TEST(GaussRemap, TablesOfTheSettings) {
    Bytes all;
    for (int sigma = 100; sigma <= 3200; sigma += 25) {
        for (const int centre : {130, 150, 200}) {
            Bytes plane(256);
            std::iota(plane.begin(), plane.end(), uint8_t{0});
            GaussRemapPlane(plane.data(), 64, 64, 4, sigma, centre);
            all.insert(all.end(), plane.begin(), plane.end());
        }
    }
    EXPECT_EQ(digest(all.data(), all.size()), 0xa26adf166e4dc0e5u);
}

TEST(GaussRemap, WithoutMemoryThePlaneStays) {
    Bytes plane;
    failEachInTurn({.calls = kAllocation,
                    .prepare =
                        [&] {
                            plane = {30, 130, 200};
                        },
                    .run =
                        [&] {
                            GaussRemapPlane(plane.data(), 3, 3, 1, 100, 130);
                            return 0;
                        },
                    .failed =
                        [&](int, int) {
                            EXPECT_EQ(plane, (Bytes{30, 130, 200}));
                        },
                    .succeeded =
                        [&](int) {
                            EXPECT_EQ(plane, (Bytes{18, 130, 156}));
                        }});
}

TEST(ScaleByLuma, FormsAgree) {
    constexpr int kLimits[] = {180, 200, 255, 128, 127, -3, 40000};
    expectFormsAgree(0x5253e5a3c8ec84bau, [&](const KernelCase& c, bool plain) {
        const auto luma = c.bytes(c.width, c.height, c.width, 1);
        auto plane = c.bytes(c.width, c.height, c.width);
        (plain ? ScaleByLuma_plain : ScaleByLuma)(plane.data(), luma.data(), c.width, c.height,
                                                  kLimits[c.seed % std::size(kLimits)]);
        return plane;
    });
}

TEST(RemixDetail, FormsAgree) {
    constexpr int kCentres[] = {130, 150, 200, 0, 1, 255, 300, -9};
    constexpr uint16_t kGains[] = {76, 102, 128, 129, 0, 65535};
    expectFormsAgree(0xead52e6b7c9bd499u, [&](const KernelCase& c, bool plain) {
        auto luma = c.bytes(c.width, c.height, c.pitch());
        const auto denoised = c.bytes(c.width, c.height, c.width, 1);
        const auto map = c.bytes(c.width, c.height, c.width, 2);
        const RemixDetailArgs args{luma.data(),
                                   denoised.data(),
                                   map.data(),
                                   c.width,
                                   c.height,
                                   c.pitch(),
                                   kCentres[c.seed % std::size(kCentres)],
                                   kGains[c.seed % std::size(kGains)]};
        (plain ? RemixDetail_plain : RemixDetail)(&args);
        return luma;
    });
}

TEST(GradientPlanes, FormsAgree) {
    expectFormsAgree(0xe4d9b1968a8e1b9eu, [](const KernelCase& c, bool plain) {
        const bool any = c.seed % 3 == 0;
        const int threshold = c.seed % 7 == 6 ? static_cast<int>(c.seed) - 300 : 10;
        const auto low = c.filled<int16_t>(c.width, c.height, c.pitch(), 0, any ? -32768 : -160, any ? 32767 : 415);
        auto planes = c.empty<uint8_t>(c.width, 3 * c.height, c.width);
        GradientPlanes(low.data(), planes.data(), c.width, c.height, c.pitch(), threshold);
        for (int y = 1; y < c.height - 1 && plain; ++y) {
            GradientRow_plain(low.row(y - 1), low.row(y), low.row(y + 1), c.width, threshold,
                              {planes.row(y), planes.row(c.height + y), planes.row(2 * c.height + y)});
        }
        return planes;
    });
}

TEST(ShrinkDetailBand, FormsAgree) {
    constexpr std::pair<int32_t, uint16_t> kShrinks[] = {{50, 614},  {50, 614}, {1, 614}, {300, 1024},
                                                         {7, 65535}, {0, 614},  {-5, 614}};
    std::vector<Samples> luts;
    for (const int strength : {0, 64, 128, 400}) {
        luts.emplace_back(1024);
        BuildShrinkLut(luts.back().data(), strength);
    }
    // Twice what goes in, with its sign.
    luts.emplace_back(1024);
    for (int i = 0; i < 1024; ++i) luts.back()[i] = static_cast<int16_t>(2 * (i - 512));
    luts.emplace_back();
    Random random(9);
    for (int i = 0; i < 1024; ++i) luts.back().push_back(static_cast<int16_t>(random.in(-32768, 32767)));
    const auto shrunk = [&](const KernelCase& c, int reach, bool plain) {
        auto band = c.filled<int16_t>(c.width, c.height, c.pitch(), 0, -reach - 1, reach);
        const auto guard = c.filled<uint8_t>(c.width, c.height, c.width + 1, 1, 0, c.seed % 4 == 0 ? 255 : 60);
        const auto& [guardLimit, topMix] = kShrinks[c.seed % std::size(kShrinks)];
        const ShrinkBandArgs args{
            band.data(), c.pitch(), guard.data(), guard.pitch(), c.width, c.height, luts[c.seed % luts.size()].data(),
            guardLimit,  topMix};
        if (!plain) ShrinkDetailBand(&args);
        const ShrinkSettings settings = PrepareShrink(args);
        for (int y = 0; y < c.height && plain; ++y) {
            ShrinkDetailRow_plain(settings, guard.row(y), c.width, band.row(y));
        }
        return band;
    };
    // Coefficients of 8-bit luma, and any.
    expectFormsAgree(0x991666b9b36e77acu,
                     [&](const KernelCase& c, bool plain) { return shrunk(c, c.seed % 3 == 0 ? 32767 : 510, plain); });
    // Of noise: registers hold the table.
    expectFormsAgree(0xa0f189dd2d0af38fu,
                     [&](const KernelCase& c, bool plain) { return shrunk(c, c.seed % 5 == 0 ? 129 : 127, plain); });
}

}  // namespace
}  // namespace eis::test
