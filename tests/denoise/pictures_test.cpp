// What the three entries make of pictures, bit for bit: digests of whole calls, the same on every machine. They were
// checked against the passes as they are defined, step after step in the kernels' plain forms.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>

#include "tests/denoise/denoise_call.h"
#include "tests/harness/targets.h"

namespace eis::test {
namespace {

// Of whole planes, padding included: bands off a plane's rows write there.
uint64_t digestOf(const TestPicture& picture) {
    uint64_t all = 0;
    for (const TestPlane& plane : picture.planes) all = all * 31 + digest(plane.now.data(), plane.now.size());
    return all;
}

uint64_t digestOfCall(Entry entry, const Shape& shape, uint64_t seed, bool luma = true, bool chroma = true) {
    DenoiseCall call(entry, shape, seed);
    call.dn.lumaNrEnable = luma ? 1 : 0;
    call.dn.chromaNrEnable = chroma ? -1 : 0;
    EXPECT_EQ(call.run(), retStsOK);
    EXPECT_TRUE(call.scratch.surroundingsIntact());
    return digestOf(call.picture);
}

using Digests = std::array<uint64_t, 3>;  // of the entries

// Widths with and without a remainder to 8, 16, 32 and 128; heights of either path, of bands that start before the
// plane (260 to 287), off its rows (260, 300) or off the grid of quarters (258, 261); rows that lie further apart than
// the scratch is long; sizes of cameras; a tall picture, the rows of whose texture map, two columns short, end up far
// below its own.
const struct {
    int width;
    int height;
    int stride;
    Digests digests;
} kPictures[] = {
    {128, 128, 0, {0xc1515537a84a81dc, 0x41605f81e7800436, 0xb867eb1e0938f50e}},
    {130, 128, 0, {0x8598543425891dac, 0x277f66a58547c748, 0x48a894c9e52ca97b}},
    {131, 129, 0, {0xbda6fbaf0e410b4f, 0x703fd1894024a7eb, 0xd076416a2cd4e460}},
    {158, 254, 0, {0x6ff8c923001066da, 0xbd6924a1775e186b, 0x9e5c7a5719760ca4}},
    {256, 254, 0, {0x1d78c4cd5bfcddcb, 0x6aead6fd1c5e0b36, 0x608aa2d76f35347f}},
    {300, 254, 512, {0x3fad098da60134cc, 0xcdc3b8ac85342bd0, 0x260c41cd8560550f}},
    {128, 256, 0, {0x6a99d6315961924b, 0xe7a673edafb8df2c, 0xa4eea4958f96f3b6}},
    {130, 256, 0, {0x99b65701771d6025, 0x64ee856eee2b3569, 0x4df41e6ea425ef3d}},
    {160, 256, 384, {0x6c724963ce9548cf, 0x69635f2317aafc6d, 0x1f4cd20c3769e029}},
    {256, 256, 0, {0x76e69f2b88ad3406, 0x41f2572a111b4c33, 0xe47e787e9fac2a2b}},
    {300, 260, 0, {0x362518d313a44cdf, 0x3d622fc5de543246, 0xaee82ddb6d97cb97}},
    {134, 260, 0, {0x148506fa300b7158, 0x49c1ef4c375ad1c1, 0xb2353847cfe0c5ed}},
    {144, 284, 0, {0x0005fd93fae8a3ea, 0xa1bc07929dbd9d15, 0x368124755fbc69f1}},
    {258, 284, 512, {0xca8af364d719940d, 0xf7faa0b29796e32d, 0xb59275aadd17b9d2}},
    {130, 300, 0, {0x0064800b902301ae, 0x801f9edefc5f5f8c, 0x1fd988bf65465b91}},
    {256, 300, 0, {0xb422d971add9d824, 0xae60427b4a300a4d, 0xc6bf45014ef66b25}},
    {168, 320, 0, {0x1a760c310eb416a6, 0x4b446dfdbbd11be8, 0xd1164f4f9ee67a1a}},
    {384, 320, 0, {0x67da51e5046b9161, 0x91da24774df2e4e7, 0x80aba18aeca9e66f}},
    {136, 258, 0, {0xffcc37b01344f116, 0x02c6e0dd3f1c5fcb, 0xc703fe463195b7db}},
    {131, 261, 0, {0xe1a4eeefe1e26b97, 0x2ba10fd1a34099a6, 0x12bd427ce087c23d}},
    {128, 260, 211456, {0x5863ef1dc84620da, 0x2e0f8f2ead9eda81, 0x05570f455607fa36}},
    {130, 287, 0, {0x3a57415a7926f0c8, 0xacfb80f8ef5738a7, 0xeb7bfe2d89dcb74b}},
    {1920, 1080, 0, {0x2726b3cc6f3f8423, 0x5c5f6cd928f24c0b, 0xa959d36d7f72594c}},
    {1446, 1088, 0, {0xeef360779e3e9a3e, 0xe93bac1ba38bdf59, 0x96b4975a177d3c14}},
    {134, 8000, 0, {0x216a1c9bb0a33d06, 0x3b09faf3460fa893, 0xaf1b679bbce1428c}},
};

TEST(Pictures, OfEverySize) {
    uint64_t seed = 0;
    for (const auto& p : kPictures) {
        Digests digests;
        for (const Entry entry : kEntries) {
            const auto side = seed % 2 == 0 ? Placement::kAtEnd : Placement::kAtStart;
            const Shape shape{p.width, p.height, kAllContents[seed % 6], p.stride, side};
            digests[entry] = digestOfCall(entry, shape, seed);
            ++seed;
        }
        EXPECT_EQ(digests, p.digests) << p.width << "x" << p.height << ", stride " << p.stride;
    }
}

TEST(Pictures, OnEachTarget) {
    forEachTarget([] {
        for (const Entry entry : kEntries) {
            const uint64_t digests[] = {digestOfCall(entry, {300, 260}, 600), digestOfCall(entry, {198, 134}, 601)};
            EXPECT_EQ(digest(digests, sizeof digests),
                      (Digests{0x93216d7835dd55bb, 0x48ac6ad3e2c7c580, 0xab174f1a6c687d63}[entry]))
                << entry;
        }
    });
}

TEST(Pictures, AtEveryStrength) {
    for (const Entry entry : kEntries) {
        uint64_t all = 0;
        for (int seed = 0; seed < 100; ++seed) {
            const Shape shape{128, seed % 4 == 0 ? 256 : 128};
            all = all * 31 + digestOfCall(entry, shape, 800 + seed);
        }
        EXPECT_EQ(all, (Digests{0x72f72f95d2db02fb, 0xcee29382cf770db3, 0x68940e4d2f8ac350}[entry])) << entry;
    }
}

TEST(Pictures, LumaOrChromaAlone) {
    for (const auto& [height, digests] :
         {std::pair{140, std::array{uint64_t{0xa3b0c8f8eac1b5ff}, uint64_t{0x790b512fa4206ea1}}},
          {264, {0xe2cbca42ad2deb4b, 0xfd1a4d1611ee4e73}}}) {
        EXPECT_EQ(digestOfCall(kSpatial, {144, height}, 900, true, false), digests[0]);
        EXPECT_EQ(digestOfCall(kSpatial, {144, height}, 900, false, true), digests[1]);
        for (const Entry entry : kEntries) {
            const uint64_t untouched = digestOf(DenoiseCall(entry, {144, height}, 900).picture);
            EXPECT_EQ(digestOfCall(entry, {144, height}, 900, false, false), untouched);
        }
    }
}

// Black and white by the signs of the split's 5x5 low-pass taps: the low band leaves what its smoothing holds in 16
// bits.
TEST(Pictures, BeyondTheUsualRange) {
    const auto paint = [](const Plane<uint8_t>& luma, int left, int top, bool white) {
        for (int y = -2; y <= 2; ++y) {
            for (int x = -2; x <= 2; ++x) {
                const bool positive = (std::abs(x) < 2) == (std::abs(y) < 2);
                luma.at(left + x, top + y) = positive == white ? 255 : 0;
            }
        }
    };
    forEachTarget([&] {
        for (const auto& [height, expected] :
             {std::pair{200, uint64_t{0x662c6791c08d6144}}, {272, 0x91e02e2b75f47de9}}) {
            DenoiseCall call(kSpatial, {300, height}, 21);
            call.dn.lumaMed = 0;
            call.dn.lumaLF = height == 200 ? -80 : 0;
            const TestPlane& luma = call.picture.planes[0];
            for (int i = 0; i < 12; ++i) paint(luma.now, 20 + 22 * i, 16 + 12 * i, i % 3 != 0);
            EXPECT_EQ(call.run(), retStsOK);
            EXPECT_EQ(digestOf(call.picture), expected);
        }
    });
}

TEST(ChromaScratchSize, FollowsThePath) {
    EXPECT_EQ(chromaScratchSize(128, 255), 28 * 32 * 63);
    EXPECT_EQ(chromaScratchSize(128, 256), 56 * 32 * (32 + 48));
    EXPECT_EQ(chromaScratchSize(4000, 3000), int64_t{56} * 1000 * (204 + 220));
}

}  // namespace
}  // namespace eis::test
