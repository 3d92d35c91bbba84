// The digests were computed apart from this code.
#include "highLevel/src/chroma/chroma_edges.h"
#include "highLevel/src/chroma/chroma_gain.h"
#include "libCore/core/source/neon/resample/binomial3x3.h"
#include "libCore/core/source/neon/wavelet/q7_convert.h"
#include "tests/harness/kernel_cases.h"

namespace eis::test {
namespace {

TEST(ChromaEdges, FormsAgree) {
    expectFormsAgree(9511589450186355994u, [](const KernelCase& c, bool plain) {
        const auto u = c.bytes(c.width, c.height, c.pitch(), 0);
        const auto v = c.bytes(c.width, c.height, c.pitch(), 1);
        auto out = c.empty<uint8_t>(c.width, c.height, c.pitch());
        (plain ? ChromaMagnitude_plain : ChromaMagnitude)(u.data(), v.data(), out.data(), c.width, c.height, c.pitch());
        return out;
    });
    expectFormsAgree(13991431969081823603u, [](const KernelCase& c, bool plain) {
        const auto source = c.bytes(c.width, c.height, c.width + 2);
        auto out = c.empty<uint8_t>(c.width, c.height, c.pitch());
        (plain ? SobelMagnitude_plain : SobelMagnitude)(source.data(), out.data(), c.width, c.height, source.pitch(),
                                                        out.pitch());
        return out;
    });
    expectFormsAgree(18069417572658009426u, [](const KernelCase& c, bool plain) {
        const auto add = c.filled<uint8_t>(c.width, c.height, c.width, 0, 0, 90);
        auto out = c.bytes(c.width, c.height, c.width, 1);
        (plain ? SatAddPlane_plain : SatAddPlane)(out.data(), add.data(), c.width, c.height);
        return out;
    });
}

// The vectors of every other case in place.
TEST(Binomial, FormsAgree) {
    expectFormsAgree(10572268589812717458u, [](const KernelCase& c, bool plain) {
        Plane<uint8_t> source = c.bytes(c.width, c.height, c.pitch());
        auto out = c.empty<uint8_t>(c.width, c.height, c.pitch());
        const auto tmp = c.empty<uint8_t>(c.width, c.height, c.width + 3);
        const bool inPlace = !plain && c.seed % 2 == 0;
        (plain ? Binomial3x3_plain : Binomial3x3)(source.data(), inPlace ? source.data() : out.data(), tmp.data(),
                                                  c.width, c.height, c.pitch(), c.pitch(), tmp.pitch());
        EXPECT_TRUE(tmp.paddingIntact());
        return inPlace ? std::move(source) : std::move(out);
    });
}

TEST(Q7Convert, FormsAgree) {
    expectFormsAgree(1469372650403395167u, [](const KernelCase& c, bool plain) {
        const auto bytes = c.bytes(c.width, c.height, c.width, 0);
        const auto samples = c.filled<int16_t>(c.width, c.height, c.width, 1, -32768, 32767);
        auto wide = c.empty<int16_t>(c.width, c.height, c.width);
        auto narrow = c.empty<uint8_t>(c.width, c.height, c.width);
        (plain ? WidenQ7_plain : WidenQ7)(bytes.data(), wide.data(), c.width, c.height);
        (plain ? NarrowQ7Round_plain : NarrowQ7Round)(samples.data(), narrow.data(), c.width, c.height);
        auto sums = c.empty<uint8_t>(c.width, 1, c.width);
        (plain ? NarrowQ7Sum_plain : NarrowQ7Sum)(samples.data(), wide.data(), sums.data(), c.width);
        return std::tuple(std::move(wide), std::move(narrow), std::move(sums));
    });
}

TEST(EdgeBlend, FormsAgree) {
    expectFormsAgree(12250740246771382236u, [](const KernelCase& c, bool plain) {
        const auto plane = [&](int salt) { return c.bytes(c.width, c.height, c.width, salt); };
        const auto firstU = plane(0), firstV = plane(1), mask = plane(2);
        auto u = plane(3), v = plane(4);
        for (size_t i = 0; i < mask.size(); ++i) mask.data()[i] = mask.data()[i] < 100 ? 0 : 255;
        const EdgeBlendArgs args{firstU.data(), firstV.data(), u.data(), v.data(),
                                 mask.data(),   c.width,       c.height, static_cast<uint8_t>(c.seed * 37)};
        (plain ? EdgeBlendChroma_plain : EdgeBlendChroma)(&args);
        return std::tuple(std::move(u), std::move(v));
    });
}

TEST(ChromaGain, FormsAgree) {
    expectFormsAgree(8266016183701042331u, [](const KernelCase& c, bool plain) {
        auto u = c.bytes(c.width, c.height, c.width, 0);
        auto v = c.bytes(c.width, c.height, c.width, 1);
        // 0 and 10 leave the planes.
        (plain ? ChromaGainLut_plain : ChromaGainLut)(u.data(), v.data(), c.width, c.height,
                                                      static_cast<int>(c.seed % 11));
        return std::tuple(std::move(u), std::move(v));
    });
    EXPECT_EQ(digest(chromaGainTables, sizeof chromaGainTables), 16092859377779590771u);
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

}  // namespace
}  // namespace eis::test
