#include "highLevel/src/luma/lifting53.h"

#include "tests/harness/kernel_cases.h"

namespace eis::test {
namespace {

// Samples as luma has them, and any. The digest was computed apart from this code.
TEST(Lifting, PlanesAreSplitAndRestored) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const bool any = c.seed % 3 == 0;
        const auto original = c.filled<int16_t>(c.width, c.height, c.pitch(), 0, any ? -32768 : 0, any ? 32767 : 255);
        const auto plane = c.empty<int16_t>(c.width, c.height, c.pitch());
        const auto tmp = c.empty<int16_t>(c.width, c.height, c.width);
        copySamples<int16_t>(original, plane);
        Lifting53Forward(plane.data(), c.width, c.height, c.pitch(), tmp.data());
        all.add(c, plane);
        Lifting53Inverse(plane.data(), c.width, c.height, c.pitch(), tmp.data());
        EXPECT_TRUE(agree<int16_t>(original, plane));
        EXPECT_TRUE(tmp.paddingIntact());
    });
    EXPECT_EQ(all.value(), 0x92ef3f6c3e789044u);
}

// Bytes, samples as the bands of luma have them, and any.
TEST(Lifting, RowFormsAgree) {
    expectFormsAgree(16835242786085305107u, [](const KernelCase& c, bool plain) {
        const int n = c.width + 1;
        const int width = 2 * n;
        const int pitch = width + 5;
        const bool any = c.seed % 3 == 0;
        const auto luma = c.bytes(width, 3, pitch);
        const auto in = c.filled<int16_t>(width, 3, pitch, 1, any ? -32768 : -160, any ? 32767 : 415);
        auto out = c.empty<int16_t>(width, 4, pitch);
        auto bands = c.empty<int16_t>(n, 4, n + 5);
        auto odd = c.empty<uint8_t>(width, 1, width);
        (plain ? LiftDetailRow_plain : LiftDetailRow)(luma.row(0), luma.row(1), luma.row(2), 99, width, out.row(0));
        (plain ? LiftSmoothRow_plain : LiftSmoothRow)(luma.row(0), in.row(0), in.row(1), width, out.row(1));
        (plain ? UnliftSmoothRow_plain : UnliftSmoothRow)(in.row(0), in.row(1), in.row(2), width, out.row(2));
        (plain ? UnliftDetailRow_plain : UnliftDetailRow)(in.row(0), in.row(1), in.row(2), width, odd.data());
        (plain ? JoinRow_plain : JoinRow)(in.row(0), in.row(1), n, out.row(3));
        (plain ? SplitRow_plain : SplitRow)(in.row(0), n, bands.row(0), bands.row(1));
        if (plain) {
            SplitRow_plain(in.row(1), n, bands.row(2), bands.row(3));
        } else {
            SplitRowLow(in.row(1), n, bands.row(2));
            SplitRowHigh(in.row(1), n, bands.row(3));
        }
        return std::tuple(std::move(out), std::move(bands), std::move(odd));
    });
}

}  // namespace
}  // namespace eis::test
