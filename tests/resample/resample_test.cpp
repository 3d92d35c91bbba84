// The digests were computed apart from this code.
#include "libCore/core/source/neon/resample/resample_down.h"
#include "libCore/core/source/neon/resample/resample_up.h"
#include "tests/harness/kernel_cases.h"

namespace eis::test {
namespace {

int roundedTo128(int width) {
    return (width + 127) / 128 * 128;
}

TEST(Resample, DownScalesAgree) {
    // The forms that take no pitch have one that the width gives.
    const auto withoutPitch = [](auto kernel) {
        return [kernel](const uint8_t* src, int /*pitch*/, uint8_t* dst, int width, int height) {
            kernel(src, height, width, dst);
        };
    };
    const auto check = [](uint64_t expected, int factor, auto pitchOf, auto plainForm, auto vectorForm) {
        expectFormsAgree(expected, [&](const KernelCase& c, bool plain) {
            // Columns and rows that fill no block are not looked at.
            const int width = factor * c.width + static_cast<int>(c.seed) % factor;
            const int height = factor * c.height + static_cast<int>(c.seed / 7) % factor;
            const auto source = c.bytes(width, height, pitchOf(width));
            auto out = c.empty<uint8_t>(c.width, c.height, c.width);
            if (plain) plainForm(source.data(), source.pitch(), out.data(), width, height);
            if (!plain) vectorForm(source.data(), source.pitch(), out.data(), width, height);
            return out;
        });
    };
    constexpr uint64_t kHalved = 0xe08eb1dce51cbb11;
    check(0x8c5af452098efffa, 4, roundedTo128, withoutPitch(DownScaleBox4x4_plain), withoutPitch(DownScaleBox4x4_neon));
    check(kHalved, 2, roundedTo128, DownScaleBox2x2_plain, withoutPitch(DownScaleBox2x2_Stride_neon));
    check(
        kHalved, 2, [](int width) { return width; }, DownScaleBox2x2_plain, withoutPitch(DownScaleBox2x2_Tight_neon));
    check(
        kHalved, 2, [](int width) { return width + 7; }, DownScaleBox2x2_plain, DownScaleBox2x2_neon);
}

TEST(Resample, UpScalesAgree) {
    const struct {
        bool above, below;  // whether the rows there can be read
        void (*plain)(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst);
        decltype(plain) vectors;
        uint64_t digest;
    } kernels[] = {
        {false, false, UpScaleX4_plain, UpScaleX4_neon, 0x61b5c05f88886278},
        {false, true, UpScaleX4_TopBand_plain, UpScaleX4_TopBand_neon, 0x321ce1b578def766},
        {true, true, UpScaleX4_MidBand_plain, UpScaleX4_MidBand_neon, 0xe535474a60b6e739},
        {true, false, UpScaleX4_BottomBand_plain, UpScaleX4_BottomBand_neon, 0x8d537c2abcb5b744},
    };
    for (const auto& kernel : kernels) {
        expectFormsAgree(kernel.digest, [&](const KernelCase& c, bool plain) {
            const auto source = c.bytes(c.width, c.height + kernel.above + kernel.below, c.width);
            auto out = c.empty<uint8_t>(2 * c.width, 2 * c.height, 2 * c.pitch());
            (plain ? kernel.plain : kernel.vectors)(source.row(kernel.above ? 1 : 0), c.height, c.width, out.pitch(),
                                                    out.data());
            return out;
        });
    }
    expectFormsAgree(0x56dd45c777550149u, [](const KernelCase& c, bool plain) {
        const auto source = c.bytes(c.width, c.height, c.width);
        auto out = c.empty<uint8_t>(4 * c.width, 4 * c.height, 4 * c.width);
        if (!plain) UpScaleX16_neon(source.data(), c.height, c.width, out.data());
        for (int y = 0; y < 4 * c.height && plain; ++y) {
            UpScaleX16Row_plain(source.data(), c.height, c.width, y, out.row(y));
        }
        return out;
    });
}

}  // namespace
}  // namespace eis::test
