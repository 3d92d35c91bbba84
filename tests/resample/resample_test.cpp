// The digests were computed apart from this code.
#include "libCore/core/source/neon/resample/resample_down.h"
#include "libCore/core/source/neon/resample/resample_up.h"
#include "tests/harness/kernel_cases.h"

namespace eis::test {
namespace {

int roundedTo128(int width) {
    return (width + 127) / 128 * 128;
}

// Under one signature with the kernel that takes a pitch.
template <auto kKernel>
void withoutPitch(const uint8_t* src, int /*pitch*/, uint8_t* dst, int width, int height) {
    kKernel(src, height, width, dst);
}

TEST(Resample, DownScalesAgree) {
    using Kernel = void (*)(const uint8_t* src, int pitch, uint8_t* dst, int width, int height);
    const struct {
        const char* name;
        int factor;
        int (*pitch)(int width);
        Kernel plain, vectors;
        uint64_t digest;
    } kernels[] = {
        {"4x4", 4, roundedTo128, withoutPitch<DownScaleBox4x4_plain>, withoutPitch<DownScaleBox4x4_neon>,
         0x8c5af452098efffa},
        {"2x2 stride", 2, roundedTo128, withoutPitch<DownScaleBox2x2_Stride_plain>,
         withoutPitch<DownScaleBox2x2_Stride_neon>, 0xe08eb1dce51cbb11},
        {"2x2 tight", 2, [](int width) { return width; }, withoutPitch<DownScaleBox2x2_Tight_plain>,
         withoutPitch<DownScaleBox2x2_Tight_neon>, 0xe08eb1dce51cbb11},
        {"2x2", 2, [](int width) { return width + 7; }, DownScaleBox2x2_plain, DownScaleBox2x2_neon,
         0xe08eb1dce51cbb11},
    };
    for (const auto& kernel : kernels) {
        SCOPED_TRACE(kernel.name);
        CaseDigest all;
        forEachCase([&](const KernelCase& c) {
            // Columns and rows that fill no block are not looked at.
            const int width = kernel.factor * c.width + static_cast<int>(c.seed) % kernel.factor;
            const int height = kernel.factor * c.height + static_cast<int>(c.seed / 7) % kernel.factor;
            const auto source = c.bytes(width, height, kernel.pitch(width));
            const auto plain = c.empty<uint8_t>(c.width, c.height, c.width);
            const auto vectors = c.empty<uint8_t>(c.width, c.height, c.width);
            kernel.plain(source.data(), source.pitch(), plain.data(), width, height);
            kernel.vectors(source.data(), source.pitch(), vectors.data(), width, height);
            EXPECT_TRUE(agree(plain, vectors));
            all.add(c, plain);
        });
        EXPECT_EQ(all.value(), kernel.digest);
    }
}

TEST(Resample, UpScalesAgree) {
    using Kernel = void (*)(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst);
    const struct {
        const char* name;
        bool above, below;  // whether the rows there can be read
        Kernel plain, vectors;
        uint64_t digest;
    } kernels[] = {
        {"whole", false, false, UpScaleX4_plain, UpScaleX4_neon, 0x61b5c05f88886278},
        {"top", false, true, UpScaleX4_TopBand_plain, UpScaleX4_TopBand_neon, 0x321ce1b578def766},
        {"middle", true, true, UpScaleX4_MidBand_plain, UpScaleX4_MidBand_neon, 0xe535474a60b6e739},
        {"bottom", true, false, UpScaleX4_BottomBand_plain, UpScaleX4_BottomBand_neon, 0x8d537c2abcb5b744},
    };
    for (const auto& kernel : kernels) {
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
        EXPECT_EQ(all.value(), kernel.digest);
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

}  // namespace
}  // namespace eis::test
