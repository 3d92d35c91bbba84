// Ransac_Regis_AcoreAPI_EIS as the host sees it: a frame that is warped, a frame that is refused and copied, a call
// that fails.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "libCore/core/source/homography.h"
#include "libCore/core/source/jacobi_eigen9.h"
#include "libCore/core/source/neon/affine_transform.h"
#include "libCore/core/source/neon/warp_rows.h"
#include "tests/harness/calls.h"
#include "tests/harness/targets.h"
#include "tests/harness/watchdog.h"
#include "tests/registration/scene.h"

namespace eis::test {
namespace {

constexpr int64_t kClockStep = 1999;  // microseconds: each time in the log is 1 ms

const Events kAddresses = {"info Ransac_Regis run idx = 1", "convert context", "convert in", "convert out",
                           "convert homography"};

// Up to the call that registers, with `left` pairs.
Events opening(const Scene& scene, const Events& cleaning, int left) {
    Events addresses = kAddresses;
    addresses[0].back() = static_cast<char>('0' + scene.options.idx);
    return joined({addresses,
                   {"info RansacEst_AcoreAPI_EIS start"},
                   cleaning,
                   {"info [MFNR_TIME][RansacEst_AcoreAPI_EIS] cost 1 ms\n", "invalidate in",
                    "info pRansacEstParaContext->stMatchPairs.pointNum = " + std::to_string(left), "convert curPoints",
                    "convert refPoints"},
                   forPlanes("convert", "ref"),
                   forPlanes("convert", "cur"),
                   forPlanes("convert", "out"),
                   {"convert status"},
                   forPlanes("invalidate", "ref"),
                   forPlanes("invalidate", "cur")});
}
Events opening(const Scene& scene) {
    return opening(scene, cleaningEvents(scene.options.matches), scene.inliers());
}

Events keypoints(int left) {
    return {"error IMG_REGISTRATION: keypoints " + std::to_string(left) + "\n"};
}

// From the end of registration on.
Events closing(bool lumaOnly) {
    Events events = {"info [MFNR_TIME][ImgRegistration] cost 1 ms", "convert out0", "flush out0", "convert status",
                     "flush status"};
    if (!lumaOnly) {
        events.insert(events.end(), {"convert out1", "flush out1", "convert out2", "flush out2"});
    }
    events.insert(events.end(), {"info [MFNR_TIME][cacheflush] cost 1 ms", "info return retStsOK"});
    return events;
}

// One line a band, whether its last group was contiguous.
Events bandFlags(int bands) {
    return Events(bands, "info flag of AffineTransform_neon_Impl_stride_Y: 1 \n");
}

const Events kRefusal = {"info Enter ImgRegistration imgDataCopy 3"};

TEST(RegisEntry, WarpsAndFlushes) {
    const FakeClock clock(0, kClockStep);
    for (const int idx : {1, 2, 3}) {
        for (const bool lumaOnly : {false, true}) {
            Scene scene({.idx = idx});
            scene.block.lumaOnly = lumaOnly ? -1 : 0;
            clearEvents();
            EXPECT_EQ(scene.run(), retStsOK);
            EXPECT_TRUE(eventsWere(
                joined({opening(scene), keypoints(scene.inliers()), bandFlags(lumaOnly ? 4 : 0), closing(lumaOnly)})));
            EXPECT_EQ(scene.statusWord(), 0);
            EXPECT_TRUE(scene.homographyUntouched());
            EXPECT_EQ(scene.context.stMatchPairs.pointNum, scene.inliers());
        }
    }
}

// The output is what the parts give one by one: the fit on the kept pairs, the area, the row kernel, the fill.
TEST(RegisEntry, OutputIsThatOfItsParts) {
    for (const bool lumaOnly : {false, true}) {
        Scene scene;
        ASSERT_EQ(scene.clean(), retStsOK);
        float h[9] = {};
        uint8_t workspace[kJacobiWorkspaceBytes];
        CalcHomography(reinterpret_cast<const float*>(scene.refPoints.data()),
                       reinterpret_cast<const float*>(scene.curPoints.data()), scene.inliers(), h, 30, workspace);
        ST_MOTION_AREA area{};
        ASSERT_EQ(MotionEstimation(h, scene.options.width, scene.options.height, &area), 0);
        std::vector<float> table(area.width / 2);
        for (size_t i = 0; i < table.size(); ++i) table[i] = static_cast<float>(area.x + 2 * i);
        const YuvPicture expected(scene.options.width, scene.options.height);
        expected.copyFrom(scene.before);
        const ST_PICTURE picture = expected.picture();
        for (int row = area.y; row < area.y + area.height; row += 2) {
            WarpRowPair_plain(
                {scene.frame.picture(), picture, area.x, area.y, area.width, area.height, h, table.data()}, row,
                lumaOnly);
        }
        (lumaOnly ? MirrorFillOutside_Y : MirrorFillOutside)(&picture, area.x, area.y, area.width, area.height);
        // The scene's shift, but for the last bits of the fit.
        EXPECT_NEAR(expected.planes[0].at(300, 200), scene.frame.planes[0].at(312, 200), 2);

        forEachTarget([&] {
            scene.reset();
            scene.block.lumaOnly = lumaOnly ? 1 : 0;
            EXPECT_EQ(scene.run(), retStsOK);
            EXPECT_TRUE(samePictures(scene.output, expected));
        });
    }
}

const std::string kInPlane = "error stImgRegistrationParamsIn.stMultiPicIn.astInImg[";
const std::string kOutPlane = "error stImgRegistrationParamsOut.stMultiRegistrationPic.astInImg[1].pData[";

// The nine pointers of a failed conversion; the last line shows the third plane under the second one's name.
Events pointerLines(const std::string& refused) {
    Events lines;
    const auto add = [&](const std::string& line, const std::string& name) {
        lines.push_back(line + (name == refused ? "] = (nil)" : "] = 0x*"));
    };
    for (int i = 0; i < 3; ++i) add(kInPlane + "1].pData[" + std::to_string(i), "cur" + std::to_string(i));
    for (int i = 0; i < 3; ++i) add(kInPlane + "0].pData[" + std::to_string(i), "ref" + std::to_string(i));
    for (int i = 0; i < 3; ++i) add(kOutPlane + std::to_string(std::min(i, 1)), "out" + std::to_string(i));
    lines.emplace_back("error I/O pData addr convert error\n");
    return lines;
}

TEST(RegisEntry, EachAddressNull) {
    const FakeClock clock(0, kClockStep);
    Scene scene;
    const Events all = opening(scene);
    const Events cleaned = cleaningEvents(scene.options.matches);
    const Events estimation = joined({kAddresses, {"info RansacEst_AcoreAPI_EIS start"}});
    const Events failed = {"error RansacEst_AcoreAPI_EIS return error [-998]\n", "info ret = -998"};
    const Events pointsNull = joined({estimation,
                                      through(cleaned, "convert refPoints"),
                                      {"error ransac RansacEstimation convert adrr Invalid\n"},
                                      failed});
    const Events listNull =
        joined({estimation, cleaned, {"error ransac RansacEstimation knnResult convert adrr Invalid\n"}, failed});
    const Events blockNull =
        joined({through(all, "convert out"), {"error FunConvert2Addr for input and output parameter error\n"}});
    std::vector<std::pair<std::string, Events>> cases = {
        {"context", joined({through(all, "convert context"),
                            {"error Ransac_Regis_AcoreAPI_EIS FunConvert2Addr convert addr error\n"}})},
        {"in", blockNull},
        {"out", blockNull},
        {"homography",
         joined({through(all, "convert homography"), {"error FunConvert2Addr for Homo parameter error\n"}})},
        {"refPoints", pointsNull},
        {"curPoints", pointsNull},
    };
    for (const char* name : {"distance", "curIndex", "refIndex", "refTable", "curTable"}) {
        cases.emplace_back(name, listNull);
    }
    for (const char* name : {"ref0", "ref1", "ref2", "cur0", "cur1", "cur2", "out0", "out1", "out2", "status"}) {
        cases.emplace_back(name, joined({through(all, "convert status"), pointerLines(name), {"info ret = -998"}}));
    }
    for (const auto& [name, expected] : cases) {
        SCOPED_TRACE(name);
        scene.reset();
        scene.space.allow();
        scene.space.refuse(name);
        clearEvents();
        EXPECT_EQ(scene.run(), retStsBadAddress);
        EXPECT_TRUE(eventsWere(expected));
        EXPECT_EQ(scene.statusWord(), Scene::kNoStatus);
        EXPECT_TRUE(scene.homographyUntouched());
        EXPECT_TRUE(scene.outputUntouched());
    }
}

// The pair addresses of the input block are its own words, converted after the estimation.
TEST(RegisEntry, PairAddressesOfTheInputBlockNull) {
    const FakeClock clock(0, kClockStep);
    for (const bool ref : {false, true}) {
        Scene scene;
        (ref ? scene.in.astPairs[0].pRefPoints : scene.in.astPairs[0].pCurPoints) = 0;
        Events expected = upTo(opening(scene), "convert ref0");
        expected[expected.size() - (ref ? 1 : 2)] = "convert ?";
        clearEvents();
        EXPECT_EQ(scene.run(), retStsBadAddress);
        EXPECT_TRUE(eventsWere(
            joined({expected, {"error input stImgRegistrationParamsIn addr convert error\n", "info ret = -998"}})));
        EXPECT_EQ(scene.statusWord(), Scene::kNoStatus);
        EXPECT_TRUE(scene.outputUntouched());
    }
}

// Whether so many rows of each output plane are the frame's, at the copy's own chroma pitch, and the others untouched.
void expectCopied(const Scene& scene, int lumaRows, int chromaRows) {
    for (int i = 0; i < 3; ++i) {
        const size_t bytes = i == 0 ? static_cast<size_t>(lumaRows) * stride128(scene.options.width)
                                    : static_cast<size_t>(chromaRows) * stride128(scene.options.width / 2);
        const Plane<uint8_t> expected(scene.before.planes[i].width(), scene.before.planes[i].height());
        expected.copyFrom(scene.before.planes[i]);
        std::memcpy(expected.data(), scene.frame.planes[i].data(), bytes);
        EXPECT_TRUE(samePlanes(scene.output.planes[i], expected)) << "plane " << i;
    }
}

const Events kTooFar = {"error IMG_REGISTRATION: the global motion between two frames is too large!",
                        "info IMG_REGISTRATION: MotionEstimation failed 3\n"};

// A refusal is a result: the frame is delivered as it is, all three planes of it even where luma alone is flushed.
TEST(RegisEntry, RefusalsAreCopied) {
    const FakeClock clock(0, kClockStep);
    const struct {
        const char* name;
        SceneOptions options;
        int pointNum;  // in the block
        int left;      // under 8: the reason, and the identity for a homography
        int lumaRows;
        int chromaRows;
    } cases[] = {
        {"too few pairs to begin with", {}, 4, 4, 464, 232},
        {"too few pairs to align by", {.matches = 8}, 8, 7, 464, 232},
        {"too far", {.width = 1000, .shift = 310}, 80, 70, 464, 232},
        // Rows past the last whole band stay as they were.
        {"height off the grid", {.width = 1000, .height = 470, .shift = 310}, 80, 70, 468, 232},
        {"width off the grid", {.width = 513, .height = 256}, 4, 4, 256, 128},
    };
    for (const auto& c : cases) {
        for (const bool lumaOnly : {false, true}) {
            SCOPED_TRACE(c.name);
            Scene scene(c.options);
            scene.context.stMatchPairs.pointNum = c.pointNum;
            scene.block.lumaOnly = lumaOnly ? 1 : 0;
            const bool tooFew = c.left < 8;
            const Events reason =
                tooFew ? Events{"error IMG_REGISTRATION: not enough keypoints " + std::to_string(c.left) + "\n"}
                       : kTooFar;
            clearEvents();
            const ResourceWatch watch;
            EXPECT_EQ(scene.run(), retStsOK);
            EXPECT_TRUE(watch.nothingLeft());
            EXPECT_TRUE(eventsWere(joined({opening(scene, cleaningEvents(c.pointNum), c.left), keypoints(c.left),
                                           reason, kRefusal, closing(lumaOnly)})));
            EXPECT_EQ(scene.statusWord(), retStsNotEnoughKeypoints);
            EXPECT_TRUE(tooFew ? scene.homographyIsIdentity() : scene.homographyUntouched());
            expectCopied(scene, c.lumaRows, c.chromaRows);
        }
    }
}

TEST(RegisEntry, EightPairsAreEnough) {
    Scene scene({.matches = 9});
    EXPECT_EQ(scene.run(), retStsOK);
    EXPECT_EQ(scene.context.stMatchPairs.pointNum, 8);
    EXPECT_EQ(scene.statusWord(), 0);
}

// Reference points in one column: no sample can be drawn, so all pairs stay, and no homography fits them.
TEST(RegisEntry, NoFit) {
    const FakeClock clock(0, kClockStep);
    Scene scene;
    for (int i = 0; i < scene.options.matches; ++i) scene.refTable.put(3 * i, 64 * 300);
    EXPECT_EQ(scene.run(), retStsOK);
    EXPECT_TRUE(eventsWere(joined(
        {opening(scene, cleaningEvents(scene.options.matches), scene.options.matches),
         keypoints(scene.options.matches),
         {"error IMG_REGISTRATION: calculate motion area error!", "info IMG_REGISTRATION: MotionEstimation failed 3\n"},
         kRefusal,
         closing(false)})));
    EXPECT_EQ(scene.statusWord(), retStsNotEnoughKeypoints);
    EXPECT_TRUE(scene.homographyUntouched());
}

TEST(RegisEntry, OtherFormat) {
    const FakeClock clock(0, kClockStep);
    Scene scene;
    scene.in.astInImg[0].format = 1;
    clearEvents();
    EXPECT_EQ(scene.run(), retStsBadAddress);
    EXPECT_TRUE(eventsWere(joined({opening(scene),
                                   {"error IMG_REGISTRATION: not suppport yuv format 1\n",
                                    "error ImgRegistration Error -998", "info ret = -998"}})));
    EXPECT_EQ(scene.statusWord(), retStsBadAddress);
    EXPECT_TRUE(scene.homographyUntouched());
    EXPECT_TRUE(scene.outputUntouched());
}

// A copy of what a call without faults leaves in the output.
YuvPicture outputWithoutFaults(Scene& scene) {
    EXPECT_EQ(scene.run(), retStsOK);
    YuvPicture output(scene.options.width, scene.options.height);
    output.copyFrom(scene.output);
    return output;
}

TEST(RegisEntry, EachAllocationFailing) {
    const FakeClock clock(0, kClockStep);
    Scene scene;
    const YuvPicture clean = outputWithoutFaults(scene);
    const Events warped = joined({opening(scene), keypoints(scene.inliers())});
    const int faults = failEachInTurn(
        {.calls = kAllocation,
         .prepare = [&] { scene.reset(); },
         .run = [&] { return scene.run(); },
         .failed =
             [&](int result, int nth) {
                 // The last one is the thread records': the caller's thread does their work.
                 EXPECT_EQ(result, nth < 3 ? retStsNoMemory : retStsOK);
                 EXPECT_EQ(scene.statusWord(), nth == 1 ? Scene::kNoStatus : result);
                 EXPECT_TRUE(nth < 3 ? scene.outputUntouched() : samePictures(scene.output, clean));
                 EXPECT_TRUE(scene.homographyUntouched());
                 const Events expected[] = {
                     joined({kAddresses,
                             {"info RansacEst_AcoreAPI_EIS start"},
                             cleaningEvents(scene.options.matches),
                             {"info ransac malloc failed!", "error RansacEst_AcoreAPI_EIS return error [-1000]\n",
                              "info ret = -1000"}}),
                     joined({warped,
                             {"error IMG_REGISTRATION: malloc failed!\n", "error ImgRegistration Error -1000",
                              "info ret = -1000"}}),
                     joined({warped, {"error Buffer malloc Failed!"}, closing(false)})};
                 EXPECT_TRUE(eventsWere(expected[nth - 1]));
             },
         .succeeded =
             [&](int result) {
                 EXPECT_EQ(result, retStsOK);
                 EXPECT_TRUE(eventsWere(joined({warped, closing(false)})));
                 EXPECT_TRUE(samePictures(scene.output, clean));
             }});
    EXPECT_EQ(faults, 3);
}

// When a band's thread cannot be started, the caller's thread warps it all: the same pixels.
TEST(RegisEntry, EachThreadOfTheWarpFailing) {
    const Deadline deadline(60);
    const FakeClock clock(0, kClockStep);
    for (const bool lumaOnly : {false, true}) {
        Scene scene;
        scene.block.lumaOnly = lumaOnly ? 1 : 0;
        const YuvPicture clean = outputWithoutFaults(scene);
        const auto warped = [&](int result) {
            EXPECT_EQ(result, retStsOK);
            EXPECT_EQ(scene.statusWord(), 0);
            EXPECT_TRUE(samePictures(scene.output, clean));
        };
        const auto failed = [&](int result, int nth) {
            warped(result);
            // Bands log while the others are started, so their lines stand anywhere; the last one is the caller's.
            Events log = allEvents();
            const auto flags = std::remove(log.begin(), log.end(), bandFlags(1)[0]);
            EXPECT_EQ(log.end() - flags, lumaOnly ? nth : 0);
            log.erase(flags, log.end());
            EXPECT_EQ(
                log,
                joined(
                    {opening(scene), keypoints(scene.inliers()), {"error Thread Create Failed!"}, closing(lumaOnly)}));
        };
        EXPECT_EQ(failEachInTurn({.calls = kThreadCreate,
                                  .prepare = [&] { scene.reset(); },
                                  .run = [&] { return scene.run(); },
                                  .failed = failed,
                                  .succeeded = warped}),
                  4);
        scene.reset();
        const FailNth all(kThreadCreate, 1, 4);
        warped(scene.run());
    }
}

// Only the last band's thread decides over a plane: without it the call ends there; another band is left uncopied, and
// the call goes on.
TEST(RegisEntry, EachThreadOfTheCopyFailing) {
    const Deadline deadline(60);
    const FakeClock clock(0, kClockStep);
    Scene scene({.width = 1000, .shift = 310});
    const Events refused = joined({opening(scene), keypoints(scene.inliers()), kTooFar, kRefusal});
    const int faults = failEachInTurn(
        {.calls = kThreadCreate,
         .prepare = [&] { scene.reset(); },
         .run = [&] { return scene.run(); },
         .failed =
             [&](int result, int nth) {
                 const int failedPlane = (nth - 1) / 4;
                 const int failedBand = (nth - 1) % 4;
                 const bool ends = failedBand == 3;
                 EXPECT_EQ(result, ends ? retStsThreadError : retStsOK);
                 EXPECT_EQ(scene.statusWord(), retStsNotEnoughKeypoints);
                 const Events band = {"info i = " + std::to_string(failedBand)};
                 const Events end = {"info Thread Create Error!", "error imgDataCopy Error -997", "info ret = -997"};
                 EXPECT_TRUE(eventsWere(joined({refused, band, ends ? end : closing(false)})));
                 for (int plane = 0; plane < 3; ++plane) {
                     const Plane<uint8_t>& out = scene.output.planes[plane];
                     for (int y = 0; y < out.height(); ++y) {
                         const bool copied = !(plane == failedPlane && y / (out.height() / 4) == failedBand) &&
                                             !(ends && plane > failedPlane);
                         const YuvPicture& from = copied ? scene.frame : scene.before;
                         ASSERT_EQ(std::memcmp(out.row(y), from.planes[plane].row(y), out.pitch()), 0)
                             << "plane " << plane << ", row " << y;
                     }
                 }
             },
         .succeeded =
             [&](int result) {
                 EXPECT_EQ(result, retStsOK);
                 EXPECT_TRUE(eventsWere(joined({refused, closing(false)})));
                 expectCopied(scene, 464, 232);
             }});
    EXPECT_EQ(faults, 12);
}

}  // namespace
}  // namespace eis::test
