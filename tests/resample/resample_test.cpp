// The digests were computed apart from this code.
#include <algorithm>
#include <vector>

#include "libCore/core/source/neon/resample_down.h"
#include "libCore/core/source/neon/resample_up.h"
#include "tests/harness/kernel_cases.h"

namespace eis::test {
namespace {

using Bytes = std::vector<uint8_t>;

int roundedTo128(int width) {
    return (width + 127) / 128 * 128;
}

// The four kernels under one signature.
struct DownScale {
    const char* name;
    int factor;
    int (*pitch)(int width);
    void (*plain)(const uint8_t* src, int pitch, int width, int height, uint8_t* dst);
    void (*vectors)(const uint8_t* src, int pitch, int width, int height, uint8_t* dst);
};
const DownScale kDownScales[] = {
    {"4x4", 4, roundedTo128,
     [](const uint8_t* src, int, int width, int height, uint8_t* dst) {
         DownScaleBox4x4_plain(src, height, width, dst);
     },
     [](const uint8_t* src, int, int width, int height, uint8_t* dst) {
         DownScaleBox4x4_neon(src, height, width, dst);
     }},
    {"2x2 stride", 2, roundedTo128,
     [](const uint8_t* src, int, int width, int height, uint8_t* dst) {
         DownScaleBox2x2_Stride_plain(src, height, width, dst);
     },
     [](const uint8_t* src, int, int width, int height, uint8_t* dst) {
         DownScaleBox2x2_Stride_neon(src, height, width, dst);
     }},
    {"2x2 tight", 2, [](int width) { return width; },
     [](const uint8_t* src, int, int width, int height, uint8_t* dst) {
         DownScaleBox2x2_Tight_plain(src, height, width, dst);
     },
     [](const uint8_t* src, int, int width, int height, uint8_t* dst) {
         DownScaleBox2x2_Tight_neon(src, height, width, dst);
     }},
    {"2x2", 2, [](int width) { return width + 7; },
     [](const uint8_t* src, int pitch, int width, int height, uint8_t* dst) {
         DownScaleBox2x2_plain(src, pitch, dst, width, height);
     },
     [](const uint8_t* src, int pitch, int width, int height, uint8_t* dst) {
         DownScaleBox2x2_neon(src, pitch, dst, width, height);
     }},
};

TEST(Resample, DownScalesAgree) {
    constexpr uint64_t kDigests[] = {0x8c5af452098efffa, 0xe08eb1dce51cbb11, 0xe08eb1dce51cbb11, 0xe08eb1dce51cbb11};
    for (size_t i = 0; i < std::size(kDownScales); ++i) {
        const DownScale& kernel = kDownScales[i];
        SCOPED_TRACE(kernel.name);
        CaseDigest all;
        forEachCase([&](const KernelCase& c) {
            // Columns and rows that fill no block are not looked at.
            const int width = kernel.factor * c.width + static_cast<int>(c.seed) % kernel.factor;
            const int height = kernel.factor * c.height + static_cast<int>(c.seed / 7) % kernel.factor;
            const auto source = c.bytes(width, height, kernel.pitch(width));
            const auto plain = c.empty<uint8_t>(c.width, c.height, c.width);
            const auto vectors = c.empty<uint8_t>(c.width, c.height, c.width);
            kernel.plain(source.data(), source.pitch(), width, height, plain.data());
            kernel.vectors(source.data(), source.pitch(), width, height, vectors.data());
            EXPECT_TRUE(agree(plain, vectors));
            all.add(c, plain);
        });
        EXPECT_EQ(all.value(), kDigests[i]);
    }
}

TEST(Resample, MeansRoundAsTold) {
    Bytes out(32);
    // Three halves in turn, each rounded up.
    Bytes source(2 * 128);
    source[0] = 1;                     // 1 0 / 0 0
    source[130] = 1;                   // 0 0 / 1 0
    source[4] = source[5] = 1;         // 1 1 / 0 0
    source[6] = 2, source[134] = 1;    // 2 0 / 1 0
    source[8] = 255, source[9] = 255;  // 255 255 / 254 255
    source[136] = 254, source[137] = 255;
    DownScaleBox2x2_Stride_neon(source.data(), 2, 12, out.data());
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 6), (Bytes{1, 1, 1, 1, 255, 0}));
    // One rounded sum of sixteen.
    Bytes blocks(4 * 128);
    blocks[3 * 128 + 3] = 7;
    blocks[4] = 8;
    std::fill_n(&blocks[128 + 8], 4, 6);
    DownScaleBox4x4_neon(blocks.data(), 4, 12, out.data());
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 3), (Bytes{0, 1, 2}));
}

// Whether the rows above and below the band can be read.
struct UpScale {
    const char* name;
    bool above;
    bool below;
    void (*plain)(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst);
    void (*vectors)(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst);
};
const UpScale kUpScales[] = {
    {"whole", false, false, UpScaleX4_plain, UpScaleX4_neon},
    {"top", false, true, UpScaleX4_TopBand_plain, UpScaleX4_TopBand_neon},
    {"middle", true, true, UpScaleX4_MidBand_plain, UpScaleX4_MidBand_neon},
    {"bottom", true, false, UpScaleX4_BottomBand_plain, UpScaleX4_BottomBand_neon},
};

TEST(Resample, UpScalesAgree) {
    constexpr uint64_t kDigests[] = {0x61b5c05f88886278, 0x321ce1b578def766, 0xe535474a60b6e739, 0x8d537c2abcb5b744};
    for (size_t i = 0; i < std::size(kUpScales); ++i) {
        const UpScale& kernel = kUpScales[i];
        SCOPED_TRACE(kernel.name);
        CaseDigest all;
        forEachCase([&](const KernelCase& c) {
            const auto source = c.bytes(c.width, c.height + kernel.above + kernel.below, c.width);
            const uint8_t* band = source.row(kernel.above ? 1 : 0);
            const auto plain = c.empty<uint8_t>(2 * c.width, 2 * c.height, 2 * c.pitch());
            const auto vectors = c.empty<uint8_t>(2 * c.width, 2 * c.height, 2 * c.pitch());
            kernel.plain(band, c.height, c.width, plain.pitch(), plain.data());
            kernel.vectors(band, c.height, c.width, vectors.pitch(), vectors.data());
            EXPECT_TRUE(agree(plain, vectors));
            all.add(c, plain);
        });
        EXPECT_EQ(all.value(), kDigests[i]);
    }
}

TEST(Resample, FourfoldUpScalesAgree) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const auto source = c.bytes(c.width, c.height, c.width);
        const auto plain = c.empty<uint8_t>(4 * c.width, 4 * c.height, 4 * c.width);
        const auto vectors = c.empty<uint8_t>(4 * c.width, 4 * c.height, 4 * c.width);
        UpScaleX16_plain(source.data(), c.height, c.width, plain.data());
        UpScaleX16_neon(source.data(), c.height, c.width, vectors.data());
        EXPECT_TRUE(agree(plain, vectors));
        all.add(c, plain);
    });
    EXPECT_EQ(all.value(), 0x56dd45c777550149u);
}

TEST(Resample, TwofoldWeights) {
    // A corner repeats, edges are 3 to 1, inside 9, 3, 3, 1.
    const Bytes source{0, 16, 32, 48};
    Bytes out(16);
    UpScaleX4_neon(source.data(), 2, 2, 4, out.data());
    EXPECT_EQ(out, (Bytes{0, 4, 12, 16, 8, 12, 20, 24, 24, 28, 36, 40, 32, 36, 44, 48}));
    // Rounded to nearest, halves up: (3 * 1 + 0 + 2) / 4 and (0 * 3 + 1 + 2) / 4.
    const Bytes single{1, 0};
    UpScaleX4_neon(single.data(), 1, 2, 4, out.data());
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 8), (Bytes{1, 1, 0, 0, 1, 1, 0, 0}));
    // One column makes two that are equal.
    UpScaleX4_neon(source.data(), 4, 1, 2, out.data());
    EXPECT_EQ(out, (Bytes{0, 0, 4, 4, 12, 12, 20, 20, 28, 28, 36, 36, 44, 44, 48, 48}));
}

TEST(Resample, BandsMeetWithoutASeam) {
    constexpr int kWidth = 37;
    Plane<uint8_t> source(kWidth, 13);
    fill(source, Content::kRandom, 5);
    const Plane<uint8_t> whole(2 * kWidth, 26);
    const Plane<uint8_t> bands(2 * kWidth, 26);
    UpScaleX4_neon(source.data(), 13, kWidth, 2 * kWidth, whole.data());
    UpScaleX4_TopBand_neon(source.row(0), 4, kWidth, 2 * kWidth, bands.row(0));
    UpScaleX4_MidBand_neon(source.row(4), 3, kWidth, 2 * kWidth, bands.row(8));
    UpScaleX4_BottomBand_neon(source.row(7), 6, kWidth, 2 * kWidth, bands.row(14));
    EXPECT_TRUE(samePlanes(whole, bands));
}

TEST(Resample, FourfoldGrids) {
    // Two columns, 0 and 64: truncated on the sample grid at the top, rounded between sample centres inside.
    const Bytes columns{0, 64, 0, 64, 0, 64};
    Bytes out(12 * 8);
    UpScaleX16_neon(columns.data(), 3, 2, out.data());
    const auto row = [&](int y) { return Bytes(&out[8 * y], &out[8 * y] + 8); };
    const Bytes edge{0, 16, 32, 48, 64, 64, 64, 64};
    const Bytes inside{0, 0, 8, 24, 40, 56, 64, 64};
    for (const int y : {0, 1, 10, 11}) EXPECT_EQ(row(y), edge) << y;
    for (int y = 2; y < 10; ++y) EXPECT_EQ(row(y), inside) << y;
    // The same lying on its side: at the left the edge column's last two rows are those of the bottom strip.
    const Bytes rows{0, 0, 0, 3, 3, 3};
    UpScaleX16_neon(rows.data(), 2, 3, out.data());
    const int left[] = {0, 0, 1, 2, 3, 3, 3, 3};
    const int middle[] = {0, 0, 0, 1, 2, 3, 3, 3};
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 12; ++x) {
            EXPECT_EQ(out[12 * y + x], (x < 2 || x > 9 ? left : middle)[y]) << x << ", " << y;
        }
    }
    // One sample fills its sixteen.
    UpScaleX16_neon(Bytes{9}.data(), 1, 1, out.data());
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 16), Bytes(16, 9));
}

TEST(Resample, AConstantStaysConstant) {
    for (const uint8_t value : {0, 1, 127, 255}) {
        const Bytes source(128 * 8, value);
        const Bytes expected(16 * 32 * 4, value);
        Bytes out = expected;
        for (const DownScale& kernel : kDownScales) {
            std::fill(out.begin(), out.end(), 99);
            kernel.vectors(source.data(), 128, 128, 8, out.data());
            const size_t count = source.size() / (kernel.factor * kernel.factor);
            EXPECT_TRUE(std::equal(out.begin(), out.begin() + count, expected.begin())) << kernel.name;
        }
        UpScaleX4_neon(source.data(), 4, 32, 64, out.data());
        UpScaleX16_neon(source.data(), 4, 16, out.data());
        EXPECT_TRUE(std::equal(out.begin(), out.begin() + 1024, expected.begin()));
    }
}

}  // namespace
}  // namespace eis::test
