#include "libCore/core/source/neon/GhostDetection_Multithread.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/neon/ghost/ghost_detection.h"
#include "libCore/core/source/neon/ghost/ghost_mask.h"
#include "tests/ghost/reference.h"
#include "tests/harness/calls.h"
#include "tests/harness/content.h"
#include "tests/harness/events.h"
#include "tests/harness/planes.h"
#include "tests/harness/watchdog.h"

namespace eis::test {
namespace {

using Box = struct { int x, y, width, height; };

constexpr char kName[] = "GhostDetectionMFNRPrivate_UpScaleX16_neon";
constexpr uint32_t kUntouched = 0xABCD;
constexpr uint8_t kBefore = 77;

// A pair of pictures whose planes begin or end at a protected page, and where the mask goes.
struct Pair {
    Pair(int pictureWidth, int pictureHeight, Placement::Side placement = Placement::kAtEnd)
        : width(pictureWidth), height(pictureHeight), mask(width, height, stride128(width), {placement, 0}, true) {
        for (int picture = 0; picture < 2; ++picture) {
            for (int p = 0; p < 3; ++p) {
                const int w = p == 0 ? width : width / 2;
                const int h = p == 0 ? height : height / 2;
                planes.emplace_back(w, h, stride128(w), Placement{placement, 0}, true);
                fill(planes.back(), Content::kNatural, 5 + p);
            }
        }
        for (ST_PICTURE* picture : {&in.img, &in.imgRef}) {
            *picture = {width, height, -1, {}, 0};
            for (int p = 0; p < 3; ++p) picture->pData[p] = planes[(picture == &in.img ? 0 : 3) + p].data();
        }
        in.ghostEnable = 1;
        in.lumaTH_Low = 8, in.lumaTH_High = 12, in.lumaNoiseTH = 90;
        in.chromaTH_Low = 6, in.chromaTH_High = 9, in.chromaNoiseTH = 120;
        fill(mask, Content::kLow, 0, kBefore, kBefore);
        out.pMask = mask.data();
        out.pGhostSize = &ghostSize;
    }

    // Moves the samples of a box in the picture under test.
    void change(int plane, Box box, int by) const {
        for (int y = box.y; y < box.y + box.height; ++y) {
            for (int x = box.x; x < box.x + box.width; ++x) planes[plane].at(x, y) += static_cast<uint8_t>(by);
        }
    }

    ret_status run() {
        return watched("bands or the pool of ghost detection",
                       [this] { return GhostDetection_Multithread_Maincall(&in, &out); });
    }

    // The whole picture's mask and count.
    testing::AssertionResult isAsReference() const {
        const ReferenceGhosts expected = referenceGhosts(in);
        if (expected.size != ghostSize) {
            return testing::AssertionFailure() << ghostSize << " in place of " << expected.size;
        }
        for (int y = 0; y < height; ++y) {
            if (std::memcmp(mask.row(y), &expected.mask[y * width], width) != 0) {
                return testing::AssertionFailure() << "row " << y << " differs";
            }
        }
        return mask.paddingIntact();
    }
    int at(int x, int y) const { return mask.at(x, y); }
    // Whether a row of the mask holds one value.
    bool holds(uint8_t value, int y) const {
        return std::all_of(mask.row(y), mask.row(y) + width, [=](uint8_t sample) { return sample == value; });
    }
    bool kept(int y) const { return holds(kBefore, y); }

    int width, height;
    std::vector<Plane<uint8_t>> planes;
    Plane<uint8_t> mask;
    ST_GHOSTDETECTION_PARAMS_IN in{};
    ST_GHOSTDETECTION_PARAMS_OUT out{};
    uint32_t ghostSize = kUntouched;
};

// Objects that cross the bands' seams, and one in each chroma plane.
void placeObjects(const Pair& pair) {
    const int w = pair.width;
    const int h = pair.height;
    pair.change(0, {w / 8, h / 8, w / 6, h / 3}, 25);
    pair.change(0, {w / 2, h / 2 - 20, w / 9, 60}, -30);
    pair.change(0, {0, h - 24, w / 3, 24}, 40);
    pair.change(1, {w / 4, h / 5, 40, 40}, 20);
    pair.change(2, {w / 20, h / 8, 30, h / 4}, -25);
    for (int i = 0; i < 200; ++i) pair.change(0, {i * 37 % w, i * 91 % h, 1, 1}, 90);
}

TEST(GhostDetection, WholePictureIsTheCompositionOfItsSteps) {
    for (const auto& [width, height] : {std::pair{312, 255}, {255, 260}, {130, 98}, {56, 1024}, {24, 31}, {300, 23}}) {
        SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
        Pair pair(width, height, width % 4 == 0 ? Placement::kAtEnd : Placement::kAtStart);
        if (height > 90) placeObjects(pair);
        clearEvents();
        EXPECT_EQ(pair.run(), retStsOK);
        EXPECT_TRUE(pair.isAsReference());
    }
}

TEST(GhostDetection, WholePictureSaysWhatItDoes) {
    Pair pair(200, 100);
    pair.change(0, {60, 40, 40, 40}, 60);
    ASSERT_EQ(pair.run(), retStsOK);
    const std::string size = std::to_string(pair.ghostSize);
    EXPECT_TRUE(pair.isAsReference());
    EXPECT_TRUE(
        logWas({"info GhostDetection IMG WIDTH:200, HEIGHT:100 \n", std::string("info enter func ") + kName + "\n",
                "info IMG WIDTH:200, pstGhostDetectionParamsIn->stMultiRegistrationPic.astInImg[1].height:100",
                "info IMG WIDTH:200, HEIGHT:100\n", std::string("info FUNCTION:") + kName + ",*, imgRef [0x*]",
                "info FUNCTION:GetMask_Stride_neon,DownScaleNewX16_char_Stride_NEON Out\n",
                "info ++++++++ghostSize =" + std::to_string(pair.ghostSize / 16) + "+++++++",
                "info =========*ghostSize = " + size + "===========", std::string("info exit func ") + kName + "\n"}));
}

// Where heights are multiples of 16, bands lie on the whole picture's grid and their overlap covers the filters.
TEST(GhostDetection, BandsGiveTheWholePicturesMask) {
    for (const auto& [width, height] : {std::pair{300, 256}, {504, 272}, {280, 1024}, {264, 496}}) {
        SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
        Pair pair(width, height);
        placeObjects(pair);
        clearEvents();
        EXPECT_EQ(pair.run(), retStsOK);
        EXPECT_EQ(logLines().back(), "info GhostDetection_Multithread_Maincall retThread = 0\n");
        EXPECT_TRUE(pair.isAsReference());
        EXPECT_EQ(GhostDetectionMFNRPrivate_UpScaleX16_neon(&pair.in, &pair.out), retStsOK);
        EXPECT_TRUE(pair.isAsReference());
    }
}

// Elsewhere bands lie beside that grid, and the second one above the picture; at heights that are no multiple of 4
// they start inside a row and leave gaps. The planes' rows have no padding here.
TEST(GhostDetection, BandsOffTheGridStayInsideThePlanes) {
    for (const int height : {260, 261, 262, 263, 264, 265, 270, 276, 300}) {
        for (const auto side : {Placement::kAtEnd, Placement::kAtStart}) {
            SCOPED_TRACE(height);
            Pair pair(512, height, side);
            pair.change(0, {60, 50, 120, 120}, 50);
            EXPECT_EQ(pair.run(), retStsOK);
            EXPECT_TRUE(pair.mask.paddingIntact());
            EXPECT_EQ(pair.at(511, height - 1), height % 4 == 0 ? 255 : 0);
            if (height % 4 != 0) continue;
            // The grown box, and the last columns, which such a width's morphology sets.
            EXPECT_NEAR(pair.ghostSize / 16.0, 39 * 39 + 29 * height / 4.0, 3 * 39);
            for (const int y : {50, 110, 169}) {
                for (const int x : {60, 179}) EXPECT_EQ(pair.at(x, y), 255);
                for (const int x : {20, 220}) EXPECT_EQ(pair.at(x, y), 0);
            }
        }
    }
}

// Their overlap in both planes, and where their rows start, show in what they leave. Where a band starts inside a row
// it takes padding for samples: no row has any there.
TEST(GhostDetection, BandsOffTheGridGiveTheirOwnMask) {
    const struct {
        int width, height;
        uint64_t mask;
        uint32_t size;
    } cases[] = {{512, 260, 10440699955673924640u, 59872},
                 {300, 264, 846110891413085737u, 21392},
                 {512, 276, 13693155916743889173u, 62544},
                 {280, 280, 1405750044967508502u, 21520},
                 {264, 1000, 18221814699822956837u, 38160}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.height);
        Pair pair(c.width, c.height);
        placeObjects(pair);
        EXPECT_EQ(pair.run(), retStsOK);
        EXPECT_TRUE(pair.mask.paddingIntact());
        EXPECT_EQ(digest(pair.mask), c.mask);
        EXPECT_EQ(pair.ghostSize, c.size);
    }
}

TEST(GhostDetection, NothingMovedAndDisabled) {
    for (const int height : {95, 320}) {
        Pair same(300, height);
        EXPECT_EQ(same.run(), retStsOK);
        EXPECT_EQ(same.ghostSize, 0u);
        for (int y = 0; y < height; ++y) EXPECT_TRUE(same.holds(0, y));

        // Chroma shows in the mask, not in the count.
        same.change(2, {50, 20, 25, 25}, 60);
        EXPECT_EQ(same.run(), retStsOK);
        EXPECT_EQ(same.ghostSize, 0u);
        EXPECT_EQ(same.at(120, 60), 255);

        for (const int enable : {0, 2, -1}) {
            Pair off(300, height);
            off.in.ghostEnable = enable;
            clearEvents();
            EXPECT_EQ(off.run(), retStsOK);
            for (int y = 0; y < height; ++y) EXPECT_TRUE(off.kept(y));
            EXPECT_EQ(off.ghostSize, height < 256 ? kUntouched : 0u);
            EXPECT_EQ(logLines().size(), height < 256 ? 1u : 2u);
        }
    }
    // At widths of 128n the morphology sets the last columns of luma, 29 at a quarter of the width.
    Pair wide(256, 256);
    EXPECT_EQ(wide.run(), retStsOK);
    EXPECT_EQ(wide.ghostSize, 29u * 256 * 4);
    EXPECT_EQ(wide.at(100, 128), 0);
    EXPECT_EQ(wide.at(255, 128), 255);
}

TEST(GhostDetection, SmallPlanesHaveEmptyMasks) {
    ST_GHOSTDETECTION_PARAMS_IN in{};
    in.lumaTH_Low = in.lumaTH_High = -1;  // would set all
    for (const auto& [width, height] : {std::pair{5, 40}, {40, 5}, {1, 1}, {0, 9}, {6, 6}}) {
        const Plane<uint8_t> a(width, height), b(width, height), mask(width, height);
        uint32_t size = kUntouched;
        EXPECT_EQ(GetMask_NoScale_neon(a.data(), b.data(), mask.data(), height, width, &size, &in), retStsOK);
        EXPECT_EQ(size, 0u);
        for (int i = 0; i < width * height; ++i) EXPECT_EQ(mask.data()[i], width == 6 ? 255 : 0);
        EXPECT_TRUE(mask.paddingIntact());
    }
}

std::string outputOf(const std::function<void()>& action) {
    {
        const OwnWork own;
        testing::internal::CaptureStdout();
    }
    action();
    const OwnWork own;
    return testing::internal::GetCapturedStdout();
}

TEST(GhostDetection, EveryFaultInTurn) {
    // The whole picture's allocations: the mask; luma's planes, filter and morphology; the chroma masks and twice the
    // same; the two at the end. The planes and the filter report nothing.
    const std::string kSaid =
        "1....11"
        "11"
        "....11"
        "....11"
        "23";
    const Events kTexts = {"", "error Memery Allocating Error!", "error Memery Allocating pBuf Error!",
                           "error Memery Allocating pMaskTemp Error!"};
    Pair small(200, 100);
    const int failures = failEachInTurn({
        .calls = kAllocation,
        .run = [&] { return small.run(); },
        .failed =
            [&](int result, int nth) {
                EXPECT_EQ(result, retStsNoMemory);
                ASSERT_LE(nth, static_cast<int>(kSaid.size()));
                const Events lines = logLines();
                const char said = kSaid[nth - 1];
                EXPECT_EQ(lines.back().starts_with("error"), said != '.');
                EXPECT_TRUE(said == '.' || lines.back() == kTexts[said - '0']);
            },
        .succeeded = [&](int result) { EXPECT_EQ(result, retStsOK); },
    });
    EXPECT_EQ(failures, static_cast<int>(kSaid.size()));

    std::string output;
    const int starts = failEachInTurn({
        .calls = kThreadCreate | kAttrInit | kAttrDestroy,
        .run =
            [&] {
                int result = 0;
                output = outputOf([&] { result = small.run(); });
                return result;
            },
        .failed =
            [&](int result, int) {
                EXPECT_EQ(result, retStsThreadError);
                EXPECT_TRUE(output.ends_with("Create Thread Failed!\n"));
            },
        .succeeded = [&](int result) { EXPECT_EQ(result + static_cast<int>(output.size()), 0); },
    });
    EXPECT_EQ(starts, 6);

    Pair large(300, 512);
    const int bandStarts = failEachInTurn({
        .calls = kThreadCreate,
        .prepare = [&] { large.ghostSize = kUntouched; },
        .run = [&] { return large.run(); },
        .failed =
            [&](int result, int) {
                EXPECT_EQ(result, retStsThreadError);
                const Events lines = logLines();
                EXPECT_EQ(std::count(lines.begin(), lines.end(), "error Thread Create Error!"), 1);
                EXPECT_EQ(large.ghostSize, kUntouched);
            },
        .succeeded =
            [&](int result) {
                EXPECT_EQ(result, retStsOK);
                EXPECT_EQ(logLines().back(), "info GhostDetection_Multithread_Maincall retThread = 0\n");
            },
    });
    EXPECT_EQ(bandStarts, 4);
}

// A band without memory leaves out its own rows, and nobody is told.
TEST(GhostDetection, BandsFailAlone) {
    for (const int height : {260, 512}) {
        const int count = 4 * 23 + (height == 260 ? 2 : 0);
        // At 260 each, as two of them, wherever they come, are copies for the rows above the second band.
        for (int nth = 1; nth <= count; nth += height == 260 ? 1 : 5) {
            Pair pair(300, height);
            const ResourceWatch watch;
            const FailNth fail(kAllocation, nth);
            EXPECT_EQ(pair.run(), retStsOK);
            EXPECT_TRUE(fail.hit());
            EXPECT_TRUE(watch.nothingLeft());
            int missing = 0;
            for (int band = 0; band < 4; ++band) {
                missing += pair.kept(band * height / 4 + 3) ? 1 : 0;
            }
            EXPECT_EQ(missing, 1) << "allocation " << nth;
        }
    }
}

}  // namespace
}  // namespace eis::test
