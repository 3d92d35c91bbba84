// The high-level entry against its definition, bit for bit.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "highLevel/src/luma/lifting53.h"
#include "highLevel/src/luma/luma_pass.h"
#include "highLevel/src/luma/plane_convert.h"
#include "tests/denoise/spatial_call.h"
#include "tests/harness/targets.h"

namespace eis::test {
namespace {

void checkBody(int width, int height, uint64_t seed, Content content, bool luma = true, bool chroma = true) {
    const testing::ScopedTrace trace(__FILE__, __LINE__,
                                     std::to_string(width) + "x" + std::to_string(height) + " " + nameOf(content) +
                                         ", seed " + std::to_string(seed));
    const auto side = seed % 2 == 0 ? Placement::kAtEnd : Placement::kAtStart;
    SpatialCallFixture call(width, height, seed, content, {side});
    call.dn.lumaNrEnable = luma ? 1 : 0;
    call.dn.chromaNrEnable = chroma ? -1 : 0;
    call.expect();
    EXPECT_EQ(call.run(), retStsOK);
    EXPECT_TRUE(call.picture.asExpected());
    const bool written = !call.picture.untouched();
    EXPECT_EQ(written, luma || chroma);
}

TEST(SpatialBodies, EqualTheirDefinition) {
    const struct {
        int width;
        int height;
    } shapes[] = {{128, 128}, {130, 128}, {131, 129}, {158, 254}, {256, 254}, {300, 254}, {128, 256},
                  {130, 256}, {160, 256}, {256, 256}, {300, 260}, {134, 260}, {144, 284}, {258, 284},
                  {130, 300}, {256, 300}, {168, 320}, {384, 320}, {136, 258}, {131, 261}, {130, 287}};
    uint64_t seed = 0;
    for (const auto& s : shapes) {
        for (int i = 0; i < 2; ++i, ++seed) checkBody(s.width, s.height, 500 + seed, kAllContents[seed % 6]);
    }
}

TEST(SpatialBodies, EqualTheirDefinitionOnEachTarget) {
    forEachTarget([] {
        checkBody(300, 260, 600, Content::kNatural);
        checkBody(198, 134, 601, Content::kNatural);
    });
}

// Black and white by the signs of the split's 5x5 low-pass taps: the low band leaves what its smoothing holds in 16
// bits.
TEST(SpatialBodies, EqualTheirDefinitionBeyondTheUsualRange) {
    const auto paint = [](const Plane<uint8_t>& luma, int left, int top, bool white) {
        for (int y = -2; y <= 2; ++y) {
            for (int x = -2; x <= 2; ++x) {
                const bool positive = (std::abs(x) < 2) == (std::abs(y) < 2);
                luma.at(left + x, top + y) = positive == white ? 255 : 0;
            }
        }
    };
    forEachTarget([&] {
        for (const int height : {200, 272}) {
            SpatialCallFixture call(300, height, 21);
            call.dn.lumaMed = 0;
            call.dn.lumaLF = height == 200 ? -80 : 0;
            const TestPlane& luma = call.picture.planes[0];
            for (int i = 0; i < 12; ++i) paint(luma.input, 20 + 22 * i, 16 + 12 * i, i % 3 != 0);
            luma.now.copyFrom(luma.input);
            std::vector<int16_t> wide(300 * height), tmp(wide.size());
            WidenPlane128_plain(luma.input.data(), wide.data(), 300, height);
            Lifting53Forward_plain(wide.data(), 300, height, 300, tmp.data());
            EXPECT_GT(*std::max_element(wide.begin(), wide.end()), 400);
            EXPECT_LT(*std::min_element(wide.begin(), wide.end()), -150);
            call.expect();
            EXPECT_EQ(call.run(), retStsOK);
            EXPECT_TRUE(call.picture.asExpected());
        }
    });
}

// In the tall picture the map's rows, two columns short, end up far below those of the picture.
TEST(SpatialBodies, EqualTheirDefinitionAtCameraSizes) {
    checkBody(1920, 1080, 700, Content::kNatural);
    checkBody(1446, 1088, 701, Content::kNatural);
    checkBody(134, 8000, 702, Content::kRandom);
}

TEST(SpatialBodies, EveryStrength) {
    for (int seed = 0; seed < 60; ++seed) checkBody(128, 128, 800 + seed, Content::kNatural);
}

TEST(SpatialBodies, LumaOrChromaAlone) {
    for (const int height : {140, 264}) {
        checkBody(144, height, 900, Content::kNatural, true, false);
        checkBody(144, height, 901, Content::kNatural, false, true);
        checkBody(144, height, 902, Content::kNatural, false, false);
    }
}

TEST(SpatialBodies, OneDigestOnEveryMachine) {
    uint64_t all = 0;
    for (const int height : {200, 272}) {
        for (const uint64_t seed : {7, 8}) {
            SpatialCallFixture call(176, height, seed);
            EXPECT_EQ(call.run(), retStsOK);
            for (const TestPlane& plane : call.picture.planes) all = all * 31 + digest(plane.now);
        }
    }
    EXPECT_EQ(all, 10633343297021575390u);
}

TEST(LumaSettings, FollowTheStrengths) {
    const auto with = [](int32_t detail, int32_t lumaLF = 0, int32_t lumaHF1 = 0) {
        ST_DN_PARAMS_VA dn{};
        dn.detail = detail;
        dn.lumaLF = lumaLF;
        dn.lumaHF1 = lumaHF1;
        return ComputeLumaSettings(dn);
    };
    EXPECT_EQ(with(0, INT32_MIN).lfStrength, 0);
    EXPECT_EQ(with(0, -90).lfStrength, 10);
    EXPECT_EQ(with(0, INT32_MAX).lfStrength, 99);  // the low 16 bits
    EXPECT_EQ(with(0, 0, INT32_MIN).hfStrength, 0);
    EXPECT_EQ(with(0, 0, -1).hfStrength, 127);
    EXPECT_EQ(with(0, 0, INT32_MAX).hfStrength, 128);
    const struct {
        int32_t detail;
        int32_t mix;
        int32_t sigma;
        int32_t centre;
        int32_t limit;
        int gain;
    } cases[] = {
        {0, 5000, 100, 130, 180, 76},     {-46, 5000, 100, 130, 180, 76},   {-47, 5006, 100, 130, 180, 76},
        {-78, 6804, 100, 130, 180, 76},   {-79, 6862, 100, 150, 200, 102},  {-80, 6920, 100, 150, 200, 102},
        {-81, 6978, 125, 150, 200, 102},  {-98, 7964, 550, 150, 200, 102},  {-99, 8000, 575, 150, 200, 102},
        {-100, 8000, 600, 150, 200, 102}, {-101, 8000, 625, 200, 255, 128},
    };
    for (const auto& c : cases) {
        const LumaSettings settings = with(c.detail);
        EXPECT_EQ(settings.lfMix, c.mix) << c.detail;
        EXPECT_EQ(settings.mapSigma, c.sigma) << c.detail;
        EXPECT_EQ(settings.map.centre, c.centre) << c.detail;
        EXPECT_EQ(settings.map.lumaLimit, c.limit) << c.detail;
        EXPECT_EQ(settings.map.mixGain, c.gain) << c.detail;
    }
}

}  // namespace
}  // namespace eis::test
