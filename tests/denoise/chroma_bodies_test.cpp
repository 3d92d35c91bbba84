// The chroma entries against their definition, bit for bit.
#include <gtest/gtest.h>

#include <string>

#include "highLevel/src/band/nr_bands.h"
#include "highLevel/src/chroma/chroma_pass.h"
#include "tests/denoise/chroma_call.h"
#include "tests/harness/targets.h"

namespace eis::test {
namespace {

void checkBody(const ChromaShape& shape, uint64_t seed, Content content) {
    const testing::ScopedTrace trace(
        __FILE__, __LINE__,
        std::to_string(shape.width) + "x" + std::to_string(shape.height) + ", stride " + std::to_string(shape.pitch()) +
            (shape.low ? ", low level, " : ", high level, ") + nameOf(content) + ", seed " + std::to_string(seed));
    ChromaCallFixture call(shape, seed, content);
    call.expect();
    EXPECT_EQ(call.run(), retStsOK);
    EXPECT_TRUE(call.asExpected());
    EXPECT_FALSE(call.picture.untouched());
}

TEST(ChromaBodies, EqualTheirDefinition) {
    // Widths with and without a remainder to 8, 16, 32 and 128; heights of either path, of bands that start before the
    // plane (260 to 284), off its rows (260, 300) or off the grid of quarters (258, 261); rows that lie further apart
    // than the scratch is long.
    const struct {
        int width;
        int height;
        int stride;
    } shapes[] = {
        {128, 128, 0}, {130, 128, 0},   {131, 129, 0},      {158, 254, 0}, {256, 254, 0}, {300, 254, 512},
        {128, 256, 0}, {130, 256, 0},   {160, 256, 384},    {256, 256, 0}, {300, 260, 0}, {134, 260, 0},
        {144, 284, 0}, {258, 284, 512}, {130, 300, 0},      {256, 300, 0}, {168, 320, 0}, {384, 320, 0},
        {136, 258, 0}, {131, 261, 0},   {128, 260, 211456}, {130, 287, 0},
    };
    uint64_t seed = 0;
    for (const auto& s : shapes) {
        for (const bool low : {false, true}) {
            const auto side = seed % 4 < 2 ? Placement::kAtEnd : Placement::kAtStart;
            checkBody({s.width, s.height, low, s.stride, side}, seed, kAllContents[seed % 6]);
            ++seed;
        }
    }
}

TEST(ChromaBodies, EqualTheirDefinitionOnEachTarget) {
    forEachTarget([] {
        checkBody({300, 260, false}, 100, Content::kNatural);
        checkBody({300, 260, true}, 101, Content::kNatural);
        checkBody({198, 134, true}, 102, Content::kRandom);
    });
}

TEST(ChromaBodies, EqualTheirDefinitionAtCameraSizes) {
    checkBody({1920, 1080, false}, 200, Content::kNatural);
    checkBody({1446, 1088, true}, 201, Content::kNatural);
}

TEST(ChromaBodies, EveryStrengthAndCount) {
    for (int seed = 0; seed < 60; ++seed) checkBody({128, 128, seed % 2 == 0}, 300 + seed, Content::kNatural);
}

TEST(ChromaBodies, OneDigestOnEveryMachine) {
    uint64_t all = 0;
    for (const bool low : {false, true}) {
        for (const int height : {200, 272}) {
            ChromaCallFixture call({176, height, low}, 7);
            call.dn.chromaS = -61;
            EXPECT_EQ(call.run(), retStsOK);
            all = all * 31 + digest(call.picture.planes[1].now) * 31 + digest(call.picture.planes[2].now);
        }
    }
    EXPECT_EQ(all, 9241688640215138949u);
}

TEST(ChromaSettings, EdgeWindow) {
    const struct {
        int32_t chromaS;
        int32_t base;
        int high;
        int low;
    } cases[] = {{INT32_MIN / 10, 0, 30, 15}, {-90, 0, 30, 15},      {-63, 0, 30, 15},      {-62, 0, 30, 15},
                 {-61, 2048, 40, 20},         {-40, 2048, 250, 125}, {-39, 2048, 255, 127}, {0, 2048, 255, 127}};
    for (const auto& c : cases) {
        const EdgeWindow window = ComputeEdgeWindow(c.chromaS, 2048);
        EXPECT_EQ(window.chromaThrBase, c.base) << c.chromaS;
        EXPECT_EQ(window.edgeHigh, c.high) << c.chromaS;
        EXPECT_EQ(window.edgeLow, c.low) << c.chromaS;
    }
}

TEST(NrBands, Geometry) {
    const struct {
        int height;
        int edge;
        int middle;
        int edgeOverlap;
        int middleOverlap;
        int64_t secondStart;  // of luma, in rows
    } cases[] = {{256, 128, 192, 64, 64, 0}, {260, 144, 208, 79, 79, -14},  {284, 144, 208, 73, 73, -2},
                 {288, 144, 208, 72, 72, 0}, {3000, 816, 880, 66, 66, 684}, {1088, 336, 400, 64, 64, 208}};
    const auto cut = [](int width, int height, int k) {
        return CutBand(WholePicture({}, {width, height, 100, {}, 0}), k);
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.height);
        for (int k = 0; k < 4; ++k) {
            const ST_NR_BAND_PARAMS band = cut(384, c.height, k);
            const bool outer = k == 0 || k == 3;
            EXPECT_EQ(band.height, outer ? c.edge : c.middle) << k;
            EXPECT_EQ(band.bandTopOverlap, k == 0 ? 0 : outer ? c.edgeOverlap : c.middleOverlap) << k;
            EXPECT_EQ(band.bandBottomOverlap, k == 3 ? 0 : outer ? c.edgeOverlap : 64) << k;
        }
        EXPECT_EQ(cut(384, c.height, 1).luma.start, c.secondStart * 384);
        EXPECT_EQ(cut(384, c.height, 1).mask.start, c.secondStart * 100);
    }
    // Half a row off.
    EXPECT_EQ(cut(384, 260, 2).chroma[0].start, 25 * 128 + 64);
}

TEST(ChromaScratchSize, FollowsThePath) {
    EXPECT_EQ(chromaScratchSize(128, 255), 28 * 32 * 63);
    EXPECT_EQ(chromaScratchSize(128, 256), 56 * 32 * (32 + 48));
    EXPECT_EQ(chromaScratchSize(4000, 3000), int64_t{56} * 1000 * (204 + 220));
}

}  // namespace
}  // namespace eis::test
