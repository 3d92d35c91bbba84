// What scaled pictures hold, worked out by hand, and their digests.
#include <gtest/gtest.h>

#include <string>

#include "libCore/core/source/neon/scale/bilinear_scale.h"
#include "libCore/core/source/neon/scale/mirror_border.h"
#include "tests/harness/targets.h"
#include "tests/scale/scaling.h"

namespace eis::test {
namespace {

TEST(ScaleValues, BorderMirrorsAboutTheEdge) {
    // Where each column or row of the padded plane comes from.
    const struct {
        int size;
        int border;
        std::vector<int> from;
    } cases[] = {
        {4, 2, {2, 1, 0, 1, 2, 3, 2, 1}},
        {3, 2, {2, 1, 0, 1, 2, 1, 0}},
        {2, 2, {1, 1, 0, 1, 0, 0}},
        {1, 2, {0, 0, 0, 0, 0}},
        {5, 0, {0, 1, 2, 3, 4}},
        {4, 1, {1, 0, 1, 2, 3, 2}},
        {3, 4, {2, 2, 2, 1, 0, 1, 2, 1, 0, 0, 0}},
    };
    for (const auto& columns : cases) {
        for (const auto& rows : cases) {
            if (columns.border != rows.border) continue;
            const Plane<uint8_t> source(columns.size, rows.size, columns.size + 3, {}, true);
            fill(source, Content::kRandom, 5);
            const int width = static_cast<int>(columns.from.size());
            const int height = static_cast<int>(rows.from.size());
            const Plane<uint8_t> padded(width, height);
            MirrorBorderCopy(source.data(), columns.size, rows.size, source.pitch(), padded.data(), columns.border);
            EXPECT_TRUE(padded.paddingIntact());
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x) {
                    EXPECT_EQ(padded.at(x, y), source.at(columns.from[x], rows.from[y]))
                        << columns.size << "x" << rows.size << " at " << x << ", " << y;
                }
            }
        }
    }
}

// Halves and pitches of chroma, both planes, odd sizes included: equal sizes copy.
TEST(ScaleValues, EqualSizesCopy) {
    for (const auto& [width, height] : {std::pair{64, 48}, {33, 17}, {2, 2}, {1, 9}, {301, 3}, {3, 2}}) {
        ScaleCall call(width, height, width, height);
        EXPECT_EQ(call.run(), retStsOK);
        for (const bool chroma : {false, true}) {
            const Plane<uint8_t>& from = chroma ? call.source.chroma : call.source.luma;
            const Plane<uint8_t>& to = chroma ? call.destination.chroma : call.destination.luma;
            EXPECT_TRUE(to.paddingIntact());
            for (int y = 0; y < from.height(); ++y) {
                EXPECT_EQ(std::memcmp(from.row(y), to.row(y), from.width()), 0)
                    << width << "x" << height << (chroma ? " chroma" : " luma") << " row " << y;
            }
        }
    }
}

TEST(ScaleValues, CropByAddressAndStride) {
    ScaleCall call(200, 40, 60, 20);
    const int x = 37;
    const int y = 11;
    call.block.Yin += y * call.source.stride + x;
    call.block.srcWidth = 60;
    call.block.srcHeight = 20;
    EXPECT_EQ(call.run(), retStsOK);
    for (int row = 0; row < 20; ++row) {
        EXPECT_EQ(std::memcmp(call.destination.luma.row(row), &call.source.luma.at(x, y + row), 60), 0) << row;
    }
    // The second chroma plane is looked for behind the crop's own height.
    for (int row = 0; row < 20; ++row) {
        EXPECT_EQ(std::memcmp(call.destination.chroma.row(row), call.source.chroma.row(row), 30), 0) << row;
    }
}

// A picture scaled onto itself: all of it is read before anything is written, chroma too.
TEST(ScaleValues, OntoItself) {
    for (const auto& [dstW, dstH] : {std::pair{80, 60}, {40, 30}, {57, 43}}) {
        std::vector<uint8_t> results[2];
        for (const bool onto : {false, true}) {
            ScaleCall call(80, 60, dstW, dstH);
            if (onto) call.block.Yout = call.block.Yin;
            if (onto) call.block.Uvout = call.block.Uvin;
            EXPECT_EQ(call.run(), retStsOK);
            const ScalePicture& out = onto ? call.source : call.destination;
            for (int y = 0; y < dstH; ++y) {
                const uint8_t* row = out.luma.data() + int64_t{y} * call.destination.stride;
                results[onto].insert(results[onto].end(), row, row + dstW);
            }
            for (int y = 0; y < dstH / 2 * 2; ++y) {
                results[onto].insert(results[onto].end(), out.chroma.row(y), out.chroma.row(y) + dstW / 2);
            }
        }
        EXPECT_EQ(results[0], results[1]) << dstW;
    }
}

// Where one output plane alone lies on one source plane alone: luma on the second chroma plane, and the second chroma
// plane of a single row on the other picture's, whose pitch is twice its own.
TEST(ScaleValues, OntoOnePlaneAlone) {
    const struct {
        int srcW, srcH, srcStride, dstW, dstH, dstStride;
        int yOut, uvOut;  // in bytes behind Uvin
    } cases[] = {{80, 60, 80, 40, 30, 40, 30 * 128, 16384},
                 {80, 60, 80, 40, 30, 40, 59 * 128, 16384},  // on its last row
                 {100, 2, 300, 240, 2, 240, 8192, 128}};
    for (const auto& c : cases) {
        std::vector<uint8_t> results[2];
        for (const bool onto : {false, true}) {
            const Plane<uint8_t> memory(16384, 4);
            fill(memory, Content::kRandom, 5);
            DeviceSpace space;
            const DeviceAddress start = space.add("memory", memory.data(), memory.size());
            const int Uvin = 16384;
            const int Yout = onto ? Uvin + c.yOut : 32768;
            const int Uvout = onto ? Uvin + c.uvOut : 49152;
            const ST_SCALE_BLOCK block{c.dstW, c.dstH, c.dstStride,  c.srcW,       c.srcH,       c.srcStride,
                                       2,      start,  start + Uvin, start + Yout, start + Uvout};
            EXPECT_EQ(Scale_Bilinear_AcoreAPI(&block), retStsOK);
            const auto take = [&](int from, int width, int rows, int pitch) {
                for (int y = 0; y < rows; ++y) {
                    const uint8_t* row = memory.data() + from + y * pitch;
                    results[onto].insert(results[onto].end(), row, row + width);
                }
            };
            take(Yout, c.dstW, c.dstH, c.dstStride);
            take(Uvout, c.dstW / 2, c.dstH / 2 * 2, eisPitch(c.dstStride / 2));
        }
        EXPECT_EQ(results[0], results[1]) << c.dstW;
    }
}

// Other borders than the sampler's: planes are padded at their own pitch, one behind the other, and read at the
// sampler's; what nothing was written to is 0.
TEST(ScaleValues, OtherBorders) {
    constexpr int kW = 14;
    constexpr int kH = 10;
    for (const int border : {0, 1, 3, 7}) {
        ScaleCall call(kW, kH, kW, kH, border);
        // A table of column numbers stands behind the planes.
        std::vector<uint8_t> work(20000, 0);
        const auto padded = [&](int size) { return size + 2 * border; };
        const size_t lumaBytes = padded(kW) * padded(kH);
        const size_t chromaBytes = padded(kW / 2) * padded(kH / 2);
        MirrorBorderCopy(call.source.luma.data(), kW, kH, call.source.luma.pitch(), work.data(), border);
        for (int plane = 0; plane < 2; ++plane) {
            MirrorBorderCopy(call.source.chroma.row(plane * kH / 2), kW / 2, kH / 2, call.source.chroma.pitch(),
                             &work[lumaBytes + plane * chromaBytes], border);
        }
        const size_t table = lumaBytes + 2 * chromaBytes + size_t{4} * call.destination.stride;
        for (int x = 0; x < call.destination.stride; ++x) work[table + 4 * x] = static_cast<uint8_t>(x);

        EXPECT_EQ(call.run(), retStsOK);
        EXPECT_TRUE(call.destination.luma.paddingIntact());
        for (int y = 0; y < kH; ++y) {
            EXPECT_EQ(std::memcmp(call.destination.luma.row(y), &work[(y + 2) * (kW + 4) + 2], kW), 0)
                << "border " << border << ", luma row " << y;
        }
        for (int y = 0; y < kH; ++y) {
            const size_t plane = y < kH / 2 ? lumaBytes : lumaBytes + (kW / 2 + 4) * (kH / 2 + 4);
            EXPECT_EQ(std::memcmp(call.destination.chroma.row(y), &work[plane + (y % (kH / 2) + 2) * (kW / 2 + 4) + 2],
                                  kW / 2),
                      0)
                << "border " << border << ", chroma row " << y;
        }
    }
}

// One value on every machine and target.
TEST(ScaleValues, Digests) {
    const struct {
        int dstW;
        int dstH;
        uint64_t luma;
        uint64_t chroma;
    } cases[] = {{333, 250, 1019418209084726729u, 2520935056183418963u},
                 {97, 61, 6078651764665732851u, 18401680539354094001u},
                 {1100, 140, 7871970041218343032u, 5329377406551238681u}};
    for (const auto& c : cases) {
        forEachTarget([&] {
            ScaleCall call(322, 242, c.dstW, c.dstH);
            EXPECT_EQ(call.run(), retStsOK);
            EXPECT_EQ(digest(call.destination.luma), c.luma) << c.dstW;
            EXPECT_EQ(digest(call.destination.chroma), c.chroma) << c.dstW;
        });
    }
}

}  // namespace
}  // namespace eis::test
