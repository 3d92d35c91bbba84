// The digests were computed apart from this code.
#include <numeric>
#include <vector>

#include "highLevel/src/detail_map.h"
#include "highLevel/src/plane_convert.h"
#include "highLevel/src/remix_detail.h"
#include "tests/harness/calls.h"
#include "tests/harness/kernel_cases.h"

namespace eis::test {
namespace {

using Bytes = std::vector<uint8_t>;
using Samples = std::vector<int16_t>;

TEST(PlaneConvert, FormsAgree) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const auto luma = c.bytes(c.width, c.height, (c.width + 127) / 128 * 128);
        const auto widePlain = c.empty<int16_t>(c.width, c.height, c.width);
        const auto wideVectors = c.empty<int16_t>(c.width, c.height, c.width);
        WidenPlane128_plain(luma.data(), widePlain.data(), c.width, c.height);
        WidenPlane128(luma.data(), wideVectors.data(), c.width, c.height);
        EXPECT_TRUE(agree(widePlain, wideVectors));
        all.add(c, widePlain);

        const auto wide = c.filled<int16_t>(c.width, c.height, c.width, 1, -400, 600);
        const auto plain = c.empty<uint8_t>(c.width, c.height, c.width);
        const auto vectors = c.empty<uint8_t>(c.width, c.height, c.width);
        NarrowPlaneSat_plain(wide.data(), plain.data(), c.width, c.height);
        NarrowPlaneSat(wide.data(), vectors.data(), c.width, c.height);
        EXPECT_TRUE(agree(plain, vectors));
        all.add(c, plain);
    });
    EXPECT_EQ(all.value(), 0x36ef762b9290e97bu);
}

TEST(Medians, FormsAgree) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const auto source = c.bytes(c.width, c.height, c.pitch());
        const auto widePlain = c.empty<int16_t>(c.width, c.height, c.width);
        const auto wideVectors = c.empty<int16_t>(c.width, c.height, c.width);
        const auto lines = c.empty<uint8_t>(c.width, 2, c.width);
        Median3x3ToWide_plain(source.data(), widePlain.data(), c.width, c.height, c.pitch(), lines.data());
        Median3x3ToWide(source.data(), wideVectors.data(), c.width, c.height, c.pitch(), lines.data());
        EXPECT_TRUE(agree(widePlain, wideVectors));
        EXPECT_TRUE(lines.paddingIntact());
        all.add(c, widePlain);

        const auto plain = c.bytes(c.width, c.height, c.width);
        const auto vectors = c.bytes(c.width, c.height, c.width);
        const auto tmp = c.empty<uint8_t>(c.width, c.height, c.width);
        Median3x3Separable_plain(plain.data(), c.width, c.height, tmp.data());
        Median3x3Separable(vectors.data(), c.width, c.height, tmp.data());
        EXPECT_TRUE(agree(plain, vectors));
        EXPECT_TRUE(tmp.paddingIntact());
        all.add(c, plain);
    });
    EXPECT_EQ(all.value(), 0xbfd008fd30d4e9c8u);
}

TEST(Medians, MiddleOfMiddles) {
    // Medians of the rows are 1, 2 and 8; the median of all nine would be 3.
    const Bytes window{0, 1, 9, 2, 0, 9, 3, 8, 9};
    Samples wide(9);
    Bytes lines(6);
    Median3x3ToWide(window.data(), wide.data(), 3, 3, 3, lines.data());
    EXPECT_EQ(wide, (Samples{0, 1, 9, 2, 2, 9, 3, 8, 9}));
    Bytes plane = window;
    Bytes tmp(9);
    Median3x3Separable(plane.data(), 3, 3, tmp.data());
    EXPECT_EQ(plane, (Bytes{0, 1, 9, 2, 2, 9, 3, 8, 9}));
}

TEST(GaussRemap, FormsAgree) {
    constexpr int kSigmas[] = {100, 600, 125, 0, -1, 3200, 1, INT32_MAX};
    constexpr int kCentres[] = {130, 150, 200, 0, 255, -70000, INT32_MIN};
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const auto plain = c.bytes(c.width, c.height, c.pitch());
        const auto table = c.bytes(c.width, c.height, c.pitch());
        const int sigma = kSigmas[c.seed % std::size(kSigmas)];
        const int centre = kCentres[c.seed % std::size(kCentres)];
        GaussRemapPlane_plain(plain.data(), c.pitch(), c.width, c.height, sigma, centre);
        GaussRemapPlane(table.data(), c.pitch(), c.width, c.height, sigma, centre);
        EXPECT_TRUE(agree(plain, table));
        all.add(c, plain);
    });
    EXPECT_EQ(all.value(), 0xb4a443e54b52aabeu);
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
    const int failures = failEachInTurn({
        .calls = kAllocation,
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
            },
    });
    EXPECT_EQ(failures, 1);
}

TEST(ScaleByLuma, FormsAgree) {
    constexpr int kLimits[] = {180, 200, 255, 128, 127, -3, 40000};
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const auto luma = c.bytes(c.width, c.height, c.width, 1);
        const auto plain = c.bytes(c.width, c.height, c.width);
        const auto vectors = c.bytes(c.width, c.height, c.width);
        const int limit = kLimits[c.seed % std::size(kLimits)];
        ScaleByLuma_plain(plain.data(), luma.data(), c.width, c.height, limit);
        ScaleByLuma(vectors.data(), luma.data(), c.width, c.height, limit);
        EXPECT_TRUE(agree(plain, vectors));
        all.add(c, plain);
    });
    EXPECT_EQ(all.value(), 0x5253e5a3c8ec84bau);
}

TEST(RemixDetail, FormsAgree) {
    constexpr int kCentres[] = {130, 150, 200, 0, 1, 255, 300, -9};
    constexpr uint16_t kGains[] = {76, 102, 128, 0, 65535};
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const auto plain = c.bytes(c.width, c.height, c.pitch());
        const auto vectors = c.bytes(c.width, c.height, c.pitch());
        const auto denoised = c.bytes(c.width, c.height, c.width, 1);
        const auto map = c.bytes(c.width, c.height, c.width, 2);
        RemixDetailArgs args{plain.data(),
                             denoised.data(),
                             map.data(),
                             c.width,
                             c.height,
                             c.pitch(),
                             kCentres[c.seed % std::size(kCentres)],
                             kGains[c.seed % std::size(kGains)]};
        RemixDetail_plain(&args);
        args.pLuma = vectors.data();
        RemixDetail(&args);
        EXPECT_TRUE(agree(plain, vectors));
        all.add(c, plain);
    });
    EXPECT_EQ(all.value(), 0x6a08833353b12f52u);
}

}  // namespace
}  // namespace eis::test
