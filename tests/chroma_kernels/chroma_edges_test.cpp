#include "highLevel/src/chroma/chroma_edges.h"
#include "libCore/core/source/neon/resample/binomial3x3.h"

#include <vector>

#include "tests/chroma_kernels/cases.h"

namespace eis::test {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(ChromaEdges, MagnitudeFormsAgree) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const int pitch = c.pitch();
        const auto u = c.bytes(c.width, c.height, pitch, 0);
        const auto v = c.bytes(c.width, c.height, pitch, 1);
        const Twins<uint8_t> out(c, pitch);
        ChromaMagnitude_plain(u.data(), v.data(), out.plain.data(), c.width, c.height, pitch);
        ChromaMagnitude(u.data(), v.data(), out.vectors.data(), c.width, c.height, pitch);
        EXPECT_TRUE(out.agree());
        all.add(c, out.plain);
    });
    EXPECT_EQ(all.value(), 9511589450186355994u);
}

TEST(ChromaEdges, BinomialFormsAgree) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const int pitch = c.pitch();
        const int tmpPitch = c.width + 3;
        const auto source = c.bytes(c.width, c.height, pitch, 0);
        const Twins<uint8_t> out(c, pitch);
        const Twins<uint8_t> tmp(c, tmpPitch);
        Binomial3x3_plain(source.data(), out.plain.data(), tmp.plain.data(), c.width, c.height, pitch, pitch, tmpPitch);
        Binomial3x3(source.data(), out.vectors.data(), tmp.vectors.data(), c.width, c.height, pitch, pitch, tmpPitch);
        EXPECT_TRUE(out.agree());
        EXPECT_TRUE(tmp.agree());
        // In place.
        Binomial3x3(source.data(), source.data(), tmp.vectors.data(), c.width, c.height, pitch, pitch, tmpPitch);
        EXPECT_EQ(digest(source), digest(out.plain));
        all.add(c, out.plain);
    });
    EXPECT_EQ(all.value(), 10572268589812717458u);
}

TEST(ChromaEdges, SobelFormsAgree) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const int srcPitch = c.width + 2;
        const auto source = c.bytes(c.width, c.height, srcPitch, 0);
        const Twins<uint8_t> out(c, c.pitch());
        SobelMagnitude_plain(source.data(), out.plain.data(), c.width, c.height, srcPitch, c.pitch());
        SobelMagnitude(source.data(), out.vectors.data(), c.width, c.height, srcPitch, c.pitch());
        EXPECT_TRUE(out.agree());
        all.add(c, out.plain);
    });
    EXPECT_EQ(all.value(), 13991431969081823603u);
}

TEST(ChromaEdges, SatAddFormsAgree) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const auto add = c.filled<uint8_t>(c.width, c.height, c.width, 0, 0, 90);
        const Twins<uint8_t> out(c, c.width, 0, 255, 1);
        SatAddPlane_plain(out.plain.data(), add.data(), c.width, c.height);
        SatAddPlane(out.vectors.data(), add.data(), c.width, c.height);
        EXPECT_TRUE(out.agree());
        all.add(c, out.plain);
    });
    EXPECT_EQ(all.value(), 18069417572658009426u);
}

TEST(ChromaEdges, ByHand) {
    Bytes out(6);
    ChromaMagnitude(Bytes{128, 0, 255, 128, 100, 200}.data(), Bytes{128, 128, 0, 64, 156, 100}.data(), out.data(), 6, 1,
                    6);
    EXPECT_EQ(out, (Bytes{64, 192, 255, 128, 120, 164}));
    // A row's ends truncate 9/4 and 3/4, a column's round 10/4 and 6/4 by halves, as do all insides.
    Bytes row{3, 0, 0, 1, 1};
    Bytes column{3, 1, 0, 0, 2};
    Binomial3x3(row.data(), row.data(), out.data(), 5, 1, 5, 5, 5);
    EXPECT_EQ(row, (Bytes{2, 1, 1, 1, 1}));
    Binomial3x3(column.data(), column.data(), out.data(), 1, 5, 1, 1, 1);
    EXPECT_EQ(column, (Bytes{3, 2, 1, 1, 2}));
    const Bytes step{10, 10, 10, 40, 40, 10, 10, 10, 40, 40, 10, 10, 10, 40, 40};
    Bytes edges(15, 7);
    SobelMagnitude(step.data(), edges.data(), 5, 3, 5, 5);
    EXPECT_EQ(edges, (Bytes{0, 0, 0, 0, 0, 0, 0, 120, 120, 0, 0, 0, 0, 0, 0}));
    // The last sixteen columns are a second sweep.
    Bytes sum(17, 10);
    SatAddPlane(sum.data(), Bytes(17, 3).data(), 17, 1);
    EXPECT_EQ(sum, (Bytes{13, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 16, 13}));
}

}  // namespace
}  // namespace eis::test
