// The warp's row kernel, both forms against each other on every target, and the fill around it.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <string>
#include <vector>

#include "libCore/core/source/neon/warp/affine_transform.h"
#include "libCore/core/source/neon/warp/mirror_fill.h"
#include "libCore/core/source/neon/warp/warp_rows.h"
#include "tests/harness/calls.h"
#include "tests/harness/events.h"
#include "tests/harness/targets.h"
#include "tests/registration/pictures.h"

namespace eis::test {
namespace {

struct Motion {
    const char* name;
    std::array<float, 9> h;
};

std::vector<float> columnTable(int x, int groups) {
    std::vector<float> table;
    for (int column = x; column < x + 8 * groups; column += 2) table.push_back(static_cast<float>(column));
    return table;
}

std::vector<Motion> allMotions() {
    std::vector<Motion> motions = {
        {"small rotation", {0.99996F, -0.0087F, 1.3F, 0.0087F, 0.99996F, -0.7F, 0, 0, 1}},
        {"large rotation", {0.8F, -0.6F, 9, 0.6F, 0.8F, -3, 0, 0, 1}},
        {"quarter turn", {0, -1, 20, 1, 0, 0, 0, 0, 1}},
        {"half turn", {-1, 0, 127, 0, -1, 15, 0, 0, 1}},
        {"enlarged", {0.25F, 0, 3.3F, 0, 0.25F, 1.1F, 0, 0, 1}},
        {"perspective", {1, 0.01F, 0.3F, -0.01F, 1, 0.7F, 9e-5F, -9e-5F, 1}},
        {"strong perspective", {1, 0, 0, 0, 1, 0, 0.01F, 0.02F, 1}},
        {"pole between groups", {1, 0, 0, 0, 1, 0, -0.021F, 0, 1}},
        {"pole at a group", {1, 0, 0, 0, 1, 0, -1.0F / 16, 0, 1}},
        {"far right", {1, 0, 1e5F, 0, 1, 0, 0, 0, 1}},
        {"coordinate over 24 bits", {1, 0, 0, 0, 1, 2e7F, 0, 0, 1}},
        {"offset wraps", {1, 0, 0, 0, 1, 1.6777216e7F, 0, 0, 1}},
        {"beyond 32 bits", {1, 0, 3e9F, 0, 1, -3e9F, 0, 0, 1}},
        {"fractions saturate", {-3e7F, 0, -5, 0, -4e7F, -5, 0, 0, 1}},
        {"identity", {1, 0, 0, 0, 1, 0}},
        {"half a pixel right", {1, 0, 0.5F, 0, 1, 0}},
        {"half a pixel both", {1, 0, 0.5F, 0, 1, 0.5F}},
        {"half a pixel left", {1, 0, -0.5F, 0, 1, 0}},
        {"half as wide", {2, 0, 0, 0, 1, 0}},
        {"half as high", {1, 0, 0, 0, 2, 0}},
        {"one reciprocal a group", {1, 0, 0, 0, 0, 0, 0.125F, 0}},
        // The first group's steps of 1, 4 and 7 add up like 2, 4 and 6, so it is read as contiguous.
        {"unequal steps", {1.35F, 0, -1.9F, 0, 1, 0}},
        {"far above", {1, 0, 0, 0, 1, -1000}},
        {"far below", {1, 0, 0, 0, 1, 1000}},
        {"nothing", {0, 0, 0, 0, 0, 0, 0, 0, 0}},
        // A group's first position is the one behind the last of chroma, the others are inside.
        {"chroma's end", {-4, 0, 1024, 0, 0, 11, 0, 0, 1}},
    };
    for (const float wild : {std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
                             std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::max()}) {
        for (int i = 0; i < 8; ++i) {
            motions.push_back({"wild element", {1, 0, 0, 0, 1, 0, 0, 0, 1}});
            motions.back().h[i] = wild;
        }
    }
    return motions;
}

testing::AssertionResult sameOutside(const Plane<uint8_t>& a, const Plane<uint8_t>& b, int x, int y, int w, int h) {
    for (int row = 0; row < a.height(); ++row) {
        for (int column = 0; column < a.pitch(); ++column) {
            const bool inside = column >= x && column < x + w && row >= y && row < y + h;
            if (!inside && a.at(column, row) != b.at(column, row)) {
                return testing::AssertionFailure() << "written at " << column << ", " << row;
            }
        }
    }
    return testing::AssertionSuccess();
}

TEST(WarpKernels, FormsAgree) {
    const std::vector<Motion> motions = allMotions();
    // Widths of the area: none, to two of the widest vectors + 8, and around the columns that are handled in one go.
    std::vector<int> widths;
    for (int w = 0; w <= 2 * 64 + 8; w += 8) widths.push_back(w);
    for (const int w : {1016, 1024, 1032, 2056}) widths.push_back(w);
    size_t turn = 0;
    uint64_t all = 0;
    for (const int w : widths) {
        ++turn;
        const int x = static_cast<int>(turn % 3) * 2;
        const Placement::Side side = turn % 2 == 0 ? Placement::kAtEnd : Placement::kAtStart;
        const Placement::Side other = turn % 2 == 0 ? Placement::kAtStart : Placement::kAtEnd;
        const int height = 16 + static_cast<int>(turn % 3);
        const YuvPicture source(x + w + 2, height, {side, static_cast<int>(turn % 16)});
        const YuvPicture before(x + w + 2, height);
        const YuvPicture expected(x + w + 2, height, {side});
        const YuvPicture actual(x + w + 2, height, {other});
        source.fillAll(kAllContents[turn % std::size(kAllContents)], turn);
        before.fillAll(Content::kRandom, turn + 100);
        const std::vector<float> table = columnTable(x, w / 8);
        for (const Motion& motion : motions) {
            for (const int row : {0, 6, 14}) {
                const bool lumaOnly = row == 6;
                SCOPED_TRACE(motion.name + testing::PrintToString(motion.h) + ", width " + std::to_string(w) +
                             ", row " + std::to_string(row));
                expected.copyFrom(before);
                const bool contiguous = WarpRowPair_plain(
                    {source.picture(), expected.picture(), x, 0, w, 16, motion.h.data(), table.data()}, row, lumaOnly);
                EXPECT_TRUE(sameOutside(before.planes[0], expected.planes[0], x, row, w, 2));
                for (int plane = 1; plane < 3; ++plane) {
                    EXPECT_TRUE(sameOutside(before.planes[plane], expected.planes[plane], x / 2, row / 2,
                                            lumaOnly ? 0 : w / 2, 1));
                }
                all = all * 0x100000001B3u ^ expected.digestAll() ^ (contiguous ? 1 : 0);
                forEachTarget([&] {
                    actual.copyFrom(before);
                    EXPECT_EQ(
                        WarpRowPair({source.picture(), actual.picture(), x, 0, w, 16, motion.h.data(), table.data()},
                                    row, lumaOnly),
                        contiguous);
                    EXPECT_TRUE(samePictures(actual, expected));
                });
                if (HasFailure()) return;
            }
        }
    }
    EXPECT_EQ(all, 10565638694780156971u);
}

// The driver on four threads gives what the plain form gives row by row, mirrored; whatever strides the records hold,
// and whichever thread is first.
TEST(WarpKernels, DriverWarpsAndFills) {
    const YuvPicture source(330, 98);
    source.fillAll(Content::kNatural, 8);
    const float h[9] = {0.9995F, -0.011F, 3.25F, 0.0105F, 1.001F, -1.5F, 1e-5F, -2e-5F, 1};
    const ST_MOTION_AREA area{6, 4, 312, 80};
    const std::vector<float> table = columnTable(area.x, area.width / 8);
    std::vector<float> scratch(4 * stride128(330) / 8);
    for (const bool lumaOnly : {false, true}) {
        const YuvPicture expected(330, 98);
        const YuvPicture before(330, 98);
        expected.copyFrom(before);
        for (int row = area.y; row < area.y + area.height; row += 2) {
            WarpRowPair_plain(
                {source.picture(), expected.picture(), area.x, area.y, area.width, area.height, h, table.data()}, row,
                lumaOnly);
        }
        const ST_PICTURE filled = expected.picture();
        (lumaOnly ? MirrorFillOutside_Y : MirrorFillOutside)(&filled, area.x, area.y, area.width, area.height);
        const JitteredThreads jittered(50);
        forEachTarget([&] {
            for (int run = 0; run < 20; ++run) {
                const YuvPicture actual(330, 98);
                actual.copyFrom(before);
                ST_PICTURE from = source.picture();
                ST_PICTURE to = actual.picture();
                from.stride = to.stride = 7;
                const auto driver = lumaOnly ? AffineTransform_neon_stride_Y : AffineTransform_neon_stride;
                EXPECT_EQ(driver(nullptr, &from, &to, h, &area, scratch.data()), 0);
                EXPECT_TRUE(samePictures(actual, expected));
            }
        });
        // One value on every machine.
        if (!lumaOnly) {
            EXPECT_EQ(expected.digestAll(), 7809582485416356845u);
        }
    }
}

TEST(WarpKernels, ABandWithoutRowsSaysSo) {
    const YuvPicture picture(128, 16);
    const float h[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    const std::vector<float> table = columnTable(0, 16);
    const WarpRecord record{picture.picture(), picture.picture(), 0, 0, 128, 2, h, table.data()};
    AffineTransform_neon_Impl_stride_Y(&record, 0, 4);
    EXPECT_TRUE(logWas({"info flag of AffineTransform_neon_Impl_stride_Y: 0 \n"}));
}

// Where each column and row comes from, for a rectangle at (4, 2) of 8 by 8.
TEST(MirrorFill, ByHand) {
    // Luma: left about column 4; right the edge repeats, on to the pitch, through the columns that the left has filled;
    // past their end the first column stays.
    const std::vector<int> lumaColumns = {8, 7, 6, 5, 4, 5, 6, 7, 8, 9, 10, 11, 11, 10,
                                          9, 8, 7, 6, 5, 4, 5, 6, 7, 8, 8,  8,  8,  8};
    const std::vector<int> lumaRows = {4, 3, 2, 3, 4, 5, 6, 7, 8, 9, 9, 8, 7, 6, 5, 4, 3, 2, 3};
    std::vector<int> chromaColumns = {4, 3, 2, 3, 4, 5, 5, 4, 3, 2, 3, 4};
    chromaColumns.resize(128, 4);
    const std::vector<int> chromaRows = {2, 1, 2, 3, 4, 4, 3, 2, 1};

    const YuvPicture before(20, 19, 28, {});
    before.fillAll(Content::kRandom, 9);
    for (const bool lumaOnly : {false, true}) {
        const YuvPicture filled(20, 19, 28, {});
        filled.copyFrom(before);
        const ST_PICTURE picture = filled.picture();
        (lumaOnly ? MirrorFillOutside_Y : MirrorFillOutside)(&picture, 4, 2, 8, 8);
        for (int plane = 0; plane < 3; ++plane) {
            const auto& columns = plane == 0 ? lumaColumns : chromaColumns;
            const auto& rows = plane == 0 ? lumaRows : chromaRows;
            ASSERT_EQ(filled.planes[plane].pitch(), columns.size());
            ASSERT_EQ(filled.planes[plane].height(), rows.size());
            EXPECT_TRUE(filled.planes[plane].paddingIntact());
            for (size_t y = 0; y < rows.size(); ++y) {
                for (size_t x = 0; x < columns.size(); ++x) {
                    const bool kept = lumaOnly && plane > 0;
                    EXPECT_EQ(filled.planes[plane].at(x, y),
                              before.planes[plane].at(kept ? x : columns[x], kept ? y : rows[y]))
                        << "plane " << plane << " at " << x << ", " << y;
                }
            }
        }
    }
    // A rectangle that reaches all edges leaves nothing to fill.
    const YuvPicture whole(256, 16);
    whole.copyFrom(YuvPicture(256, 16));
    const YuvPicture same(256, 16);
    same.copyFrom(whole);
    const ST_PICTURE picture = whole.picture();
    MirrorFillOutside(&picture, 0, 0, 256, 16);
    EXPECT_TRUE(samePictures(whole, same));
}

}  // namespace
}  // namespace eis::test
