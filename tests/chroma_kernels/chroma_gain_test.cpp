#include "highLevel/src/chroma/chroma_gain.h"

#include <algorithm>
#include <vector>

#include "libCore/core/source/neon/wavelet/q7_convert.h"
#include "tests/chroma_kernels/cases.h"

namespace eis::test {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(Q7Convert, FormsAgree) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const auto bytes = c.bytes(c.width, c.height, c.width, 0);
        const Twins<int16_t> wide(c, c.width);
        WidenQ7_plain(bytes.data(), wide.plain.data(), c.width, c.height);
        WidenQ7(bytes.data(), wide.vectors.data(), c.width, c.height);
        EXPECT_TRUE(wide.agree());
        const auto samples = c.filled<int16_t>(c.width, c.height, c.width, 1, -32768, 32767);
        const Twins<uint8_t> narrow(c, c.width);
        NarrowQ7Round_plain(samples.data(), narrow.plain.data(), c.width, c.height);
        NarrowQ7Round(samples.data(), narrow.vectors.data(), c.width, c.height);
        EXPECT_TRUE(narrow.agree());
        all.add(c, wide.plain);
        all.add(c, narrow.plain);
    });
    EXPECT_EQ(all.value(), 7487688252120101644u);
}

TEST(Q7Convert, RoundsHalfUpwardAndSaturates) {
    const int16_t samples[] = {-32768, -1, 63, 64, 191, 192, 32640, 32703, 32704, 32767};
    uint8_t out[10];
    NarrowQ7Round(samples, out, 10, 1);
    EXPECT_EQ(Bytes(out, out + 10), (Bytes{0, 0, 0, 1, 1, 2, 255, 255, 255, 255}));
}

TEST(EdgeBlend, FormsAgree) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const auto firstU = c.bytes(c.width, c.height, c.width, 0);
        const auto firstV = c.bytes(c.width, c.height, c.width, 1);
        const auto mask = c.bytes(c.width, c.height, c.width, 2);
        for (size_t i = 0; i < mask.size(); ++i) mask.data()[i] = mask.data()[i] < 100 ? 0 : 255;
        const Twins<uint8_t> dnU(c, c.width, 0, 255, 3);
        const Twins<uint8_t> dnV(c, c.width, 0, 255, 4);
        const auto alpha = static_cast<uint8_t>(c.seed * 37);
        EdgeBlendArgs args{firstU.data(), firstV.data(), dnU.plain.data(), dnV.plain.data(),
                           mask.data(),   c.width,       c.height,         alpha};
        EdgeBlendChroma_plain(&args);
        args.pDnU = dnU.vectors.data(), args.pDnV = dnV.vectors.data();
        EdgeBlendChroma(&args);
        EXPECT_TRUE(dnU.agree());
        EXPECT_TRUE(dnV.agree());
        all.add(c, dnU.plain);
        all.add(c, dnV.plain);
    });
    EXPECT_EQ(all.value(), 12250740246771382236u);
}

TEST(EdgeBlend, SecondSweepBlendsTwice) {
    // Half of 200 and half of 100; once more with 100.
    for (const int width : {8, 9}) {
        Bytes u(width, 200);
        Bytes v(width, 200);
        const Bytes first(width, 100);
        Bytes mask(width, 255);
        mask[3] = 0;
        const EdgeBlendArgs args{first.data(), first.data(), u.data(), v.data(), mask.data(), width, 1, 128};
        EdgeBlendChroma(&args);
        EXPECT_EQ(u, v);
        const uint8_t once = 150;
        const uint8_t twice = width == 9 ? 125 : once;
        for (int x = 0; x < width; ++x) {
            EXPECT_EQ(u[x], x == 3 ? 200 : x == 0 || x == 8 ? once : twice) << width << ", " << x;
        }
    }
    // The full weight may take one level off a high sample.
    Bytes u{255, 127};
    Bytes v = u;
    const Bytes zero(2, 0);
    const Bytes edges(2, 255);
    const EdgeBlendArgs args{zero.data(), zero.data(), u.data(), v.data(), edges.data(), 2, 1, 255};
    EdgeBlendChroma(&args);
    EXPECT_EQ(u, (Bytes{254, 127}));
}

TEST(ChromaGain, FormsAgree) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const Twins<uint8_t> u(c, c.width, 0, 255, 0);
        const Twins<uint8_t> v(c, c.width, 0, 255, 1);
        const int index = static_cast<int>(c.seed % 11);  // 0 and 10 leave the planes
        const uint64_t before = digest(u.plain);
        ChromaGainLut_plain(u.plain.data(), v.plain.data(), c.width, c.height, index);
        ChromaGainLut(u.vectors.data(), v.vectors.data(), c.width, c.height, index);
        EXPECT_TRUE(u.agree());
        EXPECT_TRUE(v.agree());
        if (index % 10 == 0) {
            EXPECT_EQ(digest(u.plain), before);
        }
        all.add(c, u.plain);
        all.add(c, v.plain);
    });
    EXPECT_EQ(all.value(), 8266016183701042331u);
}

TEST(ChromaGain, RowsLongerThanAStripAgree) {
    forEachTarget([] {
        const Plane<uint8_t> planes[4] = {{2053, 2}, {2053, 2}, {2053, 2}, {2053, 2}};
        for (int i = 0; i < 4; ++i) fill(planes[i], Content::kRandom, i % 2);
        ChromaGainLut_plain(planes[0].data(), planes[1].data(), 2053, 2, 9);
        ChromaGainLut(planes[2].data(), planes[3].data(), 2053, 2, 9);
        EXPECT_TRUE(samePlanes(planes[0], planes[2]));
        EXPECT_TRUE(samePlanes(planes[1], planes[3]));
    });
}

TEST(ChromaGain, FartherSampleGivesTheGainOfBoth) {
    // Table 1: 133 at 200; 141 at 88 and 160; ties go to the second sample. 139 at 192, 128 at 210.
    Bytes u{128, 200, 88, 40, 192, 128, 128, 210};
    Bytes v{128, 100, 160, 128, 192, 128, 128, 100};
    ChromaGainLut(u.data(), v.data(), 8, 1, 1);
    EXPECT_EQ(u, (Bytes{128, 203, 84, 40, 198, 128, 128, 210}));
    EXPECT_EQ(v, (Bytes{128, 99, 163, 128, 198, 128, 128, 100}));
}

TEST(ChromaGain, TablesHaveTheirShape) {
    const int tops[] = {141, 154, 166, 179, 192, 205, 218, 230, 243};
    for (int t = 0; t < 9; ++t) {
        const int16_t* table = chromaGainTables[t];
        EXPECT_EQ(*std::max_element(table, table + 256), tops[t]) << t + 1;
        for (int k = 0; k < 256; ++k) {
            EXPECT_EQ(table[k] == 128, k <= 48 || k >= 207 || (k >= 127 && k <= 129)) << t + 1 << ", " << k;
        }
    }
    EXPECT_EQ(digest(chromaGainTables, sizeof chromaGainTables), 16092859377779590771u);
}

}  // namespace
}  // namespace eis::test
