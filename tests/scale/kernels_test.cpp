// The scaler's vector form against its definition, on every target.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "libCore/core/source/neon/scale/bilinear_position.h"
#include "libCore/core/source/neon/scale/bilinear_scale.h"
#include "tests/harness/content.h"
#include "tests/harness/planes.h"
#include "tests/harness/targets.h"

namespace eis::test {
namespace {

struct Sizes {
    int srcW;
    int srcH;
    int dstW;
    int dstH;
};

// Destination widths from 1 to two of the widest vectors + 3, each enlarged, reduced and equal; then more than one
// strip of columns, and ratios at the ends of the fixed-point range.
std::vector<Sizes> allSizes() {
    std::vector<Sizes> sizes;
    Random random(31);
    const auto upTo = [&](int limit) { return static_cast<int>(random.in(1, limit)); };
    for (int w = 1; w <= 2 * 64 + 3; ++w) {
        sizes.push_back({w, upTo(9), w, upTo(9)});
        sizes.push_back({upTo(w), upTo(9), w, 2 * upTo(6) + 1});
        sizes.push_back({w + upTo(3 * w), upTo(30), w, upTo(9)});
    }
    for (const Sizes& wide :
         {Sizes{3000, 5, 2500, 7}, Sizes{64, 3, 2051, 4}, Sizes{1, 1, 1030, 3}, Sizes{5001, 2, 1025, 2},
          Sizes{40000, 2, 1, 2}, Sizes{2, 40000, 3, 5}, Sizes{3000, 3, 6144, 5}, Sizes{9000, 3, 12289, 2},
          // Blocks of columns that just take more samples than one load has.
          Sizes{640, 3, 130, 2}, Sizes{648, 3, 130, 2}}) {
        sizes.push_back(wide);
    }
    return sizes;
}

std::string nameOf(const Sizes& s) {
    return std::to_string(s.srcW) + "x" + std::to_string(s.srcH) + " to " + std::to_string(s.dstW) + "x" +
           std::to_string(s.dstH);
}

// Blocks alternate between ending and beginning at a protected page, at every alignment in turn.
Placement placementOf(size_t turn) {
    return {turn % 2 == 0 ? Placement::kAtEnd : Placement::kAtStart, static_cast<int>(turn / 2 % 17)};
}

Plane<uint8_t> paddedSource(const Sizes& s, int planes, size_t turn) {
    const int padding = 2 * kScaleBorder;
    Plane<uint8_t> source(s.srcW + padding, (s.srcH + padding) * planes, s.srcW + padding, placementOf(turn));
    fill(source, kAllContents[turn % std::size(kAllContents)], turn);
    return source;
}

// scale(plain, out) lets the plain or the vector form fill a destination of such sizes.
template <class Scale>
void expectFormsAgree(const Sizes& s, int planes, size_t turn, Scale scale) {
    SCOPED_TRACE(nameOf(s));
    const int pitch = s.dstW + static_cast<int>(turn % 5);
    const Plane<uint8_t> expected(s.dstW, planes * s.dstH, pitch, placementOf(turn + 2), true);
    const Plane<uint8_t> before(s.dstW, planes * s.dstH, pitch, {}, true);
    before.copyFrom(expected);
    scale(true, expected);
    EXPECT_TRUE(expected.paddingIntact());
    forEachTarget([&] {
        const Plane<uint8_t> actual(s.dstW, planes * s.dstH, pitch, placementOf(turn + 3), true);
        actual.copyFrom(before);
        scale(false, actual);
        EXPECT_TRUE(samePlanes(actual, expected));
    });
}

TEST(ScaleKernels, PaddedFormsAgree) {
    size_t turn = 0;
    for (const Sizes& s : allSizes()) {
        const Plane<uint8_t> source = paddedSource(s, 1, ++turn);
        // Column numbers need not ascend.
        const int entries = s.dstW + static_cast<int>(turn % 5);
        const GuardedMemory table(4 * static_cast<size_t>(entries), placementOf(turn + 1));
        for (int x = 0; x < entries; ++x) storeUnaligned(table.data() + 4 * x, turn % 3 == 0 ? s.dstW - 1 - x : x);
        // All rows, or some, or none.
        const int rowFirst = turn % 4 == 0 ? s.dstH / 3 : 0;
        const int rowEnd = turn % 7 == 0 ? s.dstH / 2 : s.dstH;
        expectFormsAgree(s, 1, turn, [&](bool plain, const Plane<uint8_t>& out) {
            EXPECT_EQ((plain ? y_bilinear_scale_crop_fixed_plain : y_bilinear_scale_crop_fixed_neon)(
                          source.data(), s.srcW, s.srcH, 0, out.data(), s.dstW, s.dstH, out.pitch(), rowFirst, rowEnd,
                          table.data()),
                      0);
        });
        // The second plane stands right behind the first.
        const Plane<uint8_t> chroma = paddedSource(s, 2, turn);
        expectFormsAgree(s, 2, turn, [&](bool plain, const Plane<uint8_t>& out) {
            (plain ? uv_bilinear_scale_crop_fixed_plain : uv_bilinear_scale_crop_fixed)(
                chroma.data(), s.srcW, s.srcH, {out.data(), out.pitch(), s.dstW, s.dstH});
        });
        if (HasFailure()) return;
    }
}

// The ratios that have forms of their own, too.
TEST(ScaleKernels, UnpaddedFormsAgree) {
    std::vector<Sizes> sizes = allSizes();
    for (int w = 1; w <= 2 * 64 + 3; ++w) {
        for (const int h : {1, 2, 5}) sizes.insert(sizes.end(), {{w, h, 2 * w, 2 * h}, {2 * w, 2 * h, w, h}});
    }
    sizes.insert(
        sizes.end(),
        {{2000, 3, 4000, 6}, {16384, 2, 32768, 4}, {32768, 2, 16384, 1}, {20000, 4, 10000, 2}, {40000, 1, 40000, 1}});
    size_t turn = 0;
    for (const Sizes& s : sizes) {
        ++turn;
        const Plane<uint8_t> source(s.srcW, s.srcH, s.srcW + static_cast<int>(turn % 3), placementOf(turn), true);
        fill(source, kAllContents[turn % std::size(kAllContents)], turn);
        expectFormsAgree(s, 1, turn, [&](bool plain, const Plane<uint8_t>& out) {
            (plain ? ScaleUnpadded_plain : ScaleUnpadded)({source.data(), source.pitch(), s.srcW, s.srcH},
                                                          {out.data(), out.pitch(), s.dstW, s.dstH});
        });
        if (HasFailure()) return;
    }
}

// A table that is shorter than the destination is read to its end and no further; the other columns stand for
// themselves.
TEST(ScaleKernels, ShortColumnTable) {
    constexpr int kWidth = 45;
    const Sizes s{kWidth, 1, kWidth, 1};
    const Plane<uint8_t> source = paddedSource(s, 1, 12);
    for (const int entries : {0, 1, 13, 44}) {
        const GuardedMemory table(4 * static_cast<size_t>(entries), {Placement::kAtEnd, 1});
        for (int x = 0; x < entries; ++x) storeUnaligned(table.data() + 4 * x, entries - 1 - x);
        const auto check = [&](auto kernel) {
            const Plane<uint8_t> out(kWidth, 1);
            kernel(source.data(), kWidth, 1, 0, out.data(), kWidth, 1, entries, 0, 1, table.data());
            for (int x = 0; x < kWidth; ++x) {
                const int column = x < entries ? entries - 1 - x : x;
                EXPECT_EQ(out.at(x, 0), source.at(column + kScaleBorder, kScaleBorder)) << entries << ", column " << x;
            }
        };
        check(y_bilinear_scale_crop_fixed_plain);
        forEachTarget([&] { check(y_bilinear_scale_crop_fixed_neon); });
    }
}

}  // namespace
}  // namespace eis::test
