#include "highLevel/src/luma/lifting53.h"

#include "highLevel/src/luma/plane_convert.h"
#include "tests/luma_kernels/forms.h"

namespace eis::test {
namespace {

// Samples as luma has them, and any.
TEST(Lifting, FormsAgreeAndTheInverseRestores) {
    expectFormsAgree(0x92ef3f6c3e789044u, [](const KernelCase& c, bool plain) {
        const bool any = c.seed % 3 == 0;
        const auto original = c.filled<int16_t>(c.width, c.height, c.pitch(), 0, any ? -32768 : 0, any ? 32767 : 255);
        const auto restored = c.empty<int16_t>(c.width, c.height, c.pitch());
        auto split = c.empty<int16_t>(c.width, c.height, c.pitch());
        const auto tmp = c.empty<int16_t>(c.width, c.height, c.width);
        copySamples<int16_t>(original, split);
        (plain ? Lifting53Forward_plain : Lifting53Forward)(split.data(), c.width, c.height, c.pitch(), tmp.data());
        copySamples<int16_t>(split, restored);
        (plain ? Lifting53Inverse_plain : Lifting53Inverse)(restored.data(), c.width, c.height, c.pitch(), tmp.data());
        EXPECT_TRUE(agree(original, restored));
        EXPECT_TRUE(tmp.paddingIntact());
        return split;
    });
}

// What the steps a row at a time leave of a band, of bytes and back to bytes, details changed in between, is what the
// planes' plain forms leave.
TEST(Lifting, RowStepsMakeThePlanes) {
    forEachCase([](const KernelCase& c) {
        const int width = c.width & ~1;
        const int height = c.height & ~1;
        const int n = width / 2;
        const int pairs = height / 2;
        if (n < 2 || pairs < 2) return;
        const auto luma = c.bytes(width, height, width);
        const auto wide = c.empty<int16_t>(width, height, width);
        const auto tmp = c.empty<int16_t>(width, height, width);
        const auto rows = [&] { return c.empty<int16_t>(width, pairs, width); };
        const auto d = rows(), s = rows(), lowHigh = rows(), highBoth = rows(), low = rows(), even = rows();
        for (int i = 0; i < width * height; ++i) wide.data()[i] = luma.data()[i];
        Lifting53Forward_plain(wide.data(), width, height, width, tmp.data());
        for (int i = 0; i < pairs; ++i) {
            LiftDetailRow(luma.row(2 * i), luma.row(2 * i + 1), luma.row(i < pairs - 1 ? 2 * i + 2 : 2 * i),
                          i < pairs - 2 ? 2 * width : 0, width, d.row(i));
            LiftSmoothRow(luma.row(2 * i), d.row(i > 0 ? i - 1 : 0), d.row(i), width, s.row(i));
            SplitRowLow(s.row(i), n, low.row(i));
            SplitRow(s.row(i), n, lowHigh.row(i), lowHigh.row(i) + n);
            SplitRow(d.row(i), n, highBoth.row(i), highBoth.row(i) + n);
            EXPECT_EQ(std::memcmp(low.row(i), lowHigh.row(i), n * sizeof(int16_t)), 0);
            EXPECT_EQ(std::memcmp(lowHigh.row(i), wide.row(i), width * sizeof(int16_t)), 0);
            EXPECT_EQ(std::memcmp(highBoth.row(i), wide.row(pairs + i), width * sizeof(int16_t)), 0);
            SplitRowHigh(d.row(i), n, low.row(i));
            EXPECT_EQ(std::memcmp(low.row(i), highBoth.row(i) + n, n * sizeof(int16_t)), 0);
        }
        for (int i = width * pairs; i < width * height; ++i)
            wide.data()[i] = static_cast<int16_t>(wide.data()[i] * 3 / 2);
        for (int i = 0; i < pairs; ++i) {
            JoinRow(wide.row(i), wide.row(i) + n, n, s.row(i));
            JoinRow(wide.row(pairs + i), wide.row(pairs + i) + n, n, d.row(i));
            UnliftSmoothRow(s.row(i), d.row(i > 0 ? i - 1 : 0), d.row(i), width, even.row(i));
        }
        Lifting53Inverse_plain(wide.data(), width, height, width, tmp.data());
        const auto expected = c.empty<uint8_t>(width, height, width);
        const auto joined = c.empty<uint8_t>(width, height, width);
        NarrowPlaneSat_plain(wide.data(), expected.data(), width, height);
        for (int i = 0; i < pairs; ++i) {
            NarrowPlaneSat(even.row(i), joined.row(2 * i), width, 1);
            UnliftDetailRow(d.row(i), even.row(i), even.row(i < pairs - 1 ? i + 1 : i), width, joined.row(2 * i + 1));
        }
        EXPECT_TRUE(agree(expected, joined));
    });
}

}  // namespace
}  // namespace eis::test
