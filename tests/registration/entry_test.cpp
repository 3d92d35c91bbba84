// RansacEst_AcoreAPI_EIS and Ransac_Regis_AcoreAPI_EIS as the host sees them: pairs that are cleaned, a frame that is
// warped, a frame that is refused and copied, a call that fails.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "tests/harness/calls.h"
#include "tests/harness/entry_faults.h"
#include "tests/harness/targets.h"
#include "tests/harness/traces.h"
#include "tests/registration/scene.h"

namespace eis::test {
namespace {

constexpr int64_t kClockStep = 1999;  // microseconds: each time in the log is 1 ms

const Events kAddresses = {"info Ransac_Regis run idx = 1", "convert context", "convert in", "convert out",
                           "convert homography"};
const Events kEstimation = joined({kAddresses, {"info RansacEst_AcoreAPI_EIS start"}});
const Events kPointsNull = {"error ransac RansacEstimation convert adrr Invalid\n"};
const Events kListNull = {"error ransac RansacEstimation knnResult convert adrr Invalid\n"};
const Events kNoScratch = {"info ransac malloc failed!"};

// Up to the call that registers, with `left` pairs.
Events opening(const Scene& scene, const Events& cleaning, int left) {
    Events addresses = kEstimation;
    addresses[0].back() = static_cast<char>('0' + scene.options.idx);
    return joined({addresses,
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
    return joined({{"info [MFNR_TIME][ImgRegistration] cost 1 ms", "convert out0", "flush out0", "convert status",
                    "flush status"},
                   lumaOnly ? Events{} : Events{"convert out1", "flush out1", "convert out2", "flush out2"},
                   {"info [MFNR_TIME][cacheflush] cost 1 ms", "info return retStsOK"}});
}

// One line a band, whether its last group was contiguous.
Events bandFlags(int bands) {
    return Events(bands, "info flag of AffineTransform_neon_Impl_stride_Y: 1 \n");
}

const Events kRefusal = {"info Enter ImgRegistration imgDataCopy 3"};
const Events kMotionFailed = {"info IMG_REGISTRATION: MotionEstimation failed 3\n"};
const Events kTooFar =
    joined({{"error IMG_REGISTRATION: the global motion between two frames is too large!"}, kMotionFailed});

TEST(RansacEntry, KeepsTheInliersInPlace) {
    Scene scene;
    EXPECT_EQ(scene.clean(), retStsOK);
    EXPECT_TRUE(eventsWere(cleaningEvents(scene.options.matches)));
    EXPECT_EQ(scene.context.stMatchPairs.pointNum, scene.inliers());
    int kept = 0;
    for (int i = 0; i < scene.options.matches; ++i) {
        if (Scene::isWrong(i)) continue;
        const float x = static_cast<float>(scene.refTable.at<int32_t>(3 * i)) / 64;
        const float y = static_cast<float>(scene.refTable.at<int32_t>(3 * i + 1)) / 64;
        EXPECT_EQ(scene.refPoints.at<Point>(kept), (Point{x, y})) << i;
        EXPECT_EQ(scene.curPoints.at<Point>(kept), (Point{x + 12, y})) << i;
        ++kept;
    }
}

TEST(RansacEntry, CountsAtTheirBounds) {
    Scene scene;
    const struct {
        const char* name;
        int32_t pointNum;
        int32_t matchNum;
        float ratio;
        ret_status status;
        int32_t left;
    } cases[] = {
        {"too few points, whatever the matches", 4, 80, 0.8F, retStsNotEnoughKeypoints, 4},
        {"points below 0", -1, 80, 0.8F, retStsNotEnoughKeypoints, -1},
        {"matches count, not points", 5, 80, 0.8F, retStsOK, scene.inliers()},
        {"no matches", 5, 0, 0.8F, retStsNotEnoughKeypoints, 0},
        {"four matches", 5, 4, 0.8F, retStsNotEnoughKeypoints, 4},
        {"five matches, all right", 5, 5, 0.8F, retStsOK, 5},
        {"all dropped by the ratio", 80, 80, 0, retStsNotEnoughKeypoints, 0},
        {"fewest matches", 5, INT_MIN, 0.8F, retStsNoMemory, 5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        scene.reset();
        scene.context.stMatchPairs.pointNum = c.pointNum;
        scene.context.matchNum = c.matchNum;
        scene.context.ratio = c.ratio;
        clearEvents();
        const ResourceWatch watch;
        EXPECT_EQ(scene.clean(), c.status);
        EXPECT_TRUE(watch.nothingLeft());
        EXPECT_EQ(scene.context.stMatchPairs.pointNum, c.left);
        EXPECT_EQ(scene.pointsUntouched(), c.pointNum < 5 || c.matchNum <= 0);
        EXPECT_TRUE(
            eventsWere(joined({cleaningEvents(c.pointNum), c.status == retStsNoMemory ? kNoScratch : Events{}})));
    }
}

TEST(RegisEntry, WarpsAndFlushes) {
    const FakeClock clock(0, kClockStep);
    for (const int idx : {1, 2, 3}) {
        for (const bool lumaOnly : {false, true}) {
            Scene scene({.idx = idx});
            scene.block.lumaOnly = lumaOnly ? -1 : 0;
            forEachTarget([&] {
                scene.reset();
                clearEvents();
                EXPECT_EQ(scene.run(), retStsOK);
                EXPECT_TRUE(eventsWere(joined(
                    {opening(scene), keypoints(scene.inliers()), bandFlags(lumaOnly ? 4 : 0), closing(lumaOnly)})));
                EXPECT_EQ(scene.statusWord(), 0);
                EXPECT_TRUE(scene.homographyUntouched());
                EXPECT_EQ(scene.context.stMatchPairs.pointNum, scene.inliers());
                EXPECT_EQ(scene.output.digestAll(), lumaOnly ? 7057552320378429137u : 2015428423403013367u);
                // The scene's shift, but for the last bits of the fit.
                double difference = 0;
                for (int i = 0; i < 440; ++i) {
                    difference += std::abs(scene.output.planes[0].at(i, i) - scene.frame.planes[0].at(i + 12, i));
                }
                EXPECT_LT(difference / 440, 1);
            });
        }
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

// Addresses that belong together are all converted before any is tested.
TEST(RegistrationEntries, EachAddressNull) {
    const FakeClock clock(0, kClockStep);
    Scene scene;
    const Events cleaned = cleaningEvents(scene.options.matches);
    const Events pointsNull = joined({through(cleaned, "convert refPoints"), kPointsNull});
    const Events listNull = joined({cleaned, kListNull});
    const Events failed = {"error RansacEst_AcoreAPI_EIS return error [-998]\n", "info ret = -998"};
    const Events all = opening(scene);
    const Events blockNull =
        joined({through(all, "convert out"), {"error FunConvert2Addr for input and output parameter error\n"}});
    std::vector<NullAddress> estimation;
    std::vector<NullAddress> registration = {
        {"context", retStsBadAddress,
         joined({through(all, "convert context"),
                 {"error Ransac_Regis_AcoreAPI_EIS FunConvert2Addr convert addr error\n"}})},
        {"in", retStsBadAddress, blockNull},
        {"out", retStsBadAddress, blockNull},
        {"homography", retStsBadAddress, joined({kAddresses, {"error FunConvert2Addr for Homo parameter error\n"}})},
    };
    for (const char* name : {"refPoints", "curPoints", "distance", "curIndex", "refIndex", "refTable", "curTable"}) {
        const Events& events = std::string(name).find("Points") != std::string::npos ? pointsNull : listNull;
        estimation.push_back({name, retStsBadAddress, events});
        registration.push_back({name, retStsBadAddress, joined({kEstimation, events, failed})});
    }
    for (const char* name : {"ref0", "ref1", "ref2", "cur0", "cur1", "cur2", "out0", "out1", "out2", "status"}) {
        registration.push_back({name, retStsBadAddress,
                                joined({through(all, "convert status"), pointerLines(name), {"info ret = -998"}})});
    }
    const auto untouched = [&] {
        return scene.statusWord() == Scene::kNoStatus && scene.homographyUntouched() && scene.outputUntouched();
    };
    eachAddressNull(
        scene.space, estimation, [&] { return scene.clean(); }, [&] { return scene.pointsUntouched() && untouched(); });
    const auto run = [&] {
        scene.reset();
        return scene.run();
    };
    eachAddressNull(scene.space, registration, run, untouched);

    // The pair addresses of the input block are its own words, converted after the estimation.
    for (DeviceAddress ST_REGISTRATION_PAIR_DEV::*field :
         {&ST_REGISTRATION_PAIR_DEV::pCurPoints, &ST_REGISTRATION_PAIR_DEV::pRefPoints}) {
        const DeviceAddress good = std::exchange(scene.in.astPairs[0].*field, 0);
        Events expected = upTo(all, "convert ref0");
        expected[expected.size() - (field == &ST_REGISTRATION_PAIR_DEV::pRefPoints ? 1 : 2)] = "convert ?";
        clearEvents();
        EXPECT_EQ(run(), retStsBadAddress);
        EXPECT_TRUE(eventsWere(
            joined({expected, {"error input stImgRegistrationParamsIn addr convert error\n", "info ret = -998"}})));
        EXPECT_TRUE(untouched());
        scene.in.astPairs[0].*field = good;
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

// A refusal is a result: the frame is delivered as it is, all three planes of it even where luma alone is flushed.
TEST(RegisEntry, RefusalsAreCopied) {
    const FakeClock clock(0, kClockStep);
    const auto tooFew = [](int left) {
        return Events{"error IMG_REGISTRATION: not enough keypoints " + std::to_string(left) + "\n"};
    };
    const Events noArea = joined({{"error IMG_REGISTRATION: calculate motion area error!"}, kMotionFailed});
    const struct {
        const char* name;
        SceneOptions options;
        int pointNum;  // in the block
        int left;      // under 8: the identity for a homography
        int lumaRows;
        int chromaRows;
        Events reason;
        bool inOneColumn = false;  // no sample can be drawn of such points, and no homography fits them
    } cases[] = {
        {"too few pairs to begin with", {}, 4, 4, 464, 232, tooFew(4)},
        {"too few pairs to align by", {.matches = 8}, 8, 7, 464, 232, tooFew(7)},
        {"too far", {.width = 1000, .shift = 310}, 80, 70, 464, 232, kTooFar},
        {"no fit", {}, 80, 80, 464, 232, noArea, true},
        // Rows past the last whole band stay as they were.
        {"height off the grid", {.width = 1000, .height = 470, .shift = 310}, 80, 70, 468, 232, kTooFar},
        {"width off the grid", {.width = 513, .height = 256}, 4, 4, 256, 128, tooFew(4)},
    };
    for (const auto& c : cases) {
        for (const bool lumaOnly : {false, true}) {
            SCOPED_TRACE(c.name);
            Scene scene(c.options);
            scene.context.stMatchPairs.pointNum = c.pointNum;
            scene.block.lumaOnly = lumaOnly ? 1 : 0;
            for (int i = 0; c.inOneColumn && i < c.options.matches; ++i) scene.refTable.put(3 * i, 64 * 300);
            clearEvents();
            const ResourceWatch watch;
            EXPECT_EQ(scene.run(), retStsOK);
            EXPECT_TRUE(watch.nothingLeft());
            EXPECT_TRUE(eventsWere(joined({opening(scene, cleaningEvents(c.pointNum), c.left), keypoints(c.left),
                                           c.reason, kRefusal, closing(lumaOnly)})));
            EXPECT_EQ(scene.statusWord(), retStsNotEnoughKeypoints);
            EXPECT_TRUE(c.left < 8 ? scene.homographyIsIdentity() : scene.homographyUntouched());
            expectCopied(scene, c.lumaRows, c.chromaRows);
        }
    }
    Scene eight({.matches = 9});
    EXPECT_EQ(eight.run(), retStsOK);
    EXPECT_EQ(eight.context.stMatchPairs.pointNum, 8);
    EXPECT_EQ(eight.statusWord(), 0) << "eight pairs are enough";
}

TEST(RegisEntry, OtherFormat) {
    const FakeClock clock(0, kClockStep);
    Scene scene;
    scene.in.astInImg[0].format = 1;
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

// Cleaning takes the first one; the last one is the thread records': the caller's thread does their work.
TEST(RegistrationEntries, EachAllocationFailing) {
    const FakeClock clock(0, kClockStep);
    Scene scene;
    const YuvPicture good = outputWithoutFaults(scene);
    const Events cleaned = cleaningEvents(scene.options.matches);
    const Events warped = joined({opening(scene), keypoints(scene.inliers())});
    const Events expected[] = {
        joined({kEstimation,
                cleaned,
                kNoScratch,
                {"error RansacEst_AcoreAPI_EIS return error [-1000]\n", "info ret = -1000"}}),
        joined({warped,
                {"error IMG_REGISTRATION: malloc failed!\n", "error ImgRegistration Error -1000", "info ret = -1000"}}),
        joined({warped, {"error Buffer malloc Failed!"}, closing(false)})};
    const auto failed = [&](int result, int nth) {
        EXPECT_EQ(result, nth < 3 ? retStsNoMemory : retStsOK);
        EXPECT_EQ(scene.statusWord(), nth == 1 ? Scene::kNoStatus : result);
        EXPECT_TRUE(nth < 3 ? scene.outputUntouched() : samePictures(scene.output, good));
        EXPECT_TRUE(scene.homographyUntouched());
        EXPECT_TRUE(eventsWere(expected[nth - 1]));
    };
    const auto succeeded = [&](int result) {
        EXPECT_EQ(result, retStsOK);
        EXPECT_TRUE(eventsWere(joined({warped, closing(false)})));
        EXPECT_TRUE(samePictures(scene.output, good));
    };
    const auto prepare = [&] { scene.reset(); };
    EXPECT_EQ(failEachInTurn({kAllocation, prepare, [&] { return scene.run(); }, failed, succeeded}), 3);

    const auto notCleaned = [&](int result, int /*nth*/) {
        EXPECT_EQ(result, retStsNoMemory);
        EXPECT_TRUE(eventsWere(joined({cleaned, kNoScratch})));
        EXPECT_EQ(scene.context.stMatchPairs.pointNum, scene.options.matches);
        // The pairs were built before.
        EXPECT_EQ(scene.refPoints.at<Point>(1).x, scene.refTable.at<int32_t>(3) / 64.0F);
    };
    const auto nowCleaned = [&](int /*result*/) { EXPECT_EQ(scene.context.stMatchPairs.pointNum, scene.inliers()); };
    EXPECT_EQ(failEachInTurn({kAllocation, prepare, [&] { return scene.clean(); }, notCleaned, nowCleaned}), 1);
}

// When a band's thread cannot be started, the caller's thread warps it all: the same pixels.
TEST(RegisEntry, EachThreadOfTheWarpFailing) {
    const FakeClock clock(0, kClockStep);
    for (const bool lumaOnly : {false, true}) {
        Scene scene;
        scene.block.lumaOnly = lumaOnly ? 1 : 0;
        const YuvPicture good = outputWithoutFaults(scene);
        const Events lines =
            joined({opening(scene), keypoints(scene.inliers()), {"error Thread Create Failed!"}, closing(lumaOnly)});
        const auto warped = [&](int result) {
            EXPECT_EQ(result, retStsOK);
            EXPECT_EQ(scene.statusWord(), 0);
            EXPECT_TRUE(samePictures(scene.output, good));
        };
        const auto failed = [&](int result, int nth) {
            warped(result);
            // Bands log while the others are started, so their lines stand anywhere; the last one is the caller's.
            Events log = allEvents();
            EXPECT_EQ(std::erase(log, bandFlags(1)[0]), lumaOnly ? nth : 0);
            EXPECT_EQ(log, lines);
        };
        EXPECT_EQ(failEachInTurn({kThreadCreate, [&] { scene.reset(); }, [&] { return scene.run(); }, failed, warped}),
                  4);
    }
}

// Only the last band's thread decides over a plane: without it the call ends there; another band is left uncopied, and
// the call goes on.
TEST(RegisEntry, EachThreadOfTheCopyFailing) {
    const FakeClock clock(0, kClockStep);
    Scene scene({.width = 1000, .shift = 310});
    const Events refused = joined({opening(scene), keypoints(scene.inliers()), kTooFar, kRefusal});
    const auto failed = [&](int result, int nth) {
        const int failedPlane = (nth - 1) / 4;
        const int failedBand = (nth - 1) % 4;
        const bool ends = failedBand == 3;
        EXPECT_EQ(result, ends ? retStsThreadError : retStsOK);
        EXPECT_EQ(scene.statusWord(), retStsNotEnoughKeypoints);
        const Events band = {"info i = " + std::to_string(failedBand)};
        const Events end = {"info Thread Create Error!", "error imgDataCopy Error -997", "info ret = -997"};
        EXPECT_TRUE(eventsWere(joined({refused, band, ends ? end : closing(false)})));
        if (ends) return;
        const Plane<uint8_t>& out = scene.output.planes[failedPlane];
        for (int y = 0; y < out.height(); ++y) {
            const YuvPicture& from = y / (out.height() / 4) == failedBand ? scene.before : scene.frame;
            ASSERT_EQ(std::memcmp(out.row(y), from.planes[failedPlane].row(y), out.pitch()), 0) << y;
        }
    };
    const auto succeeded = [&](int result) {
        EXPECT_EQ(result, retStsOK);
        EXPECT_TRUE(eventsWere(joined({refused, closing(false)})));
        expectCopied(scene, 464, 232);
        EXPECT_EQ(takeTraces().back().text,
                  "-AP_EIS libCore/core/source/kelvane_mfdenoise "
                  "ret_status Ransac_Regis_AcoreAPI_EIS(const ST_RANSAC_REGIS_BLOCK*)");
    };
    (void)takeTraces();
    EXPECT_EQ(failEachInTurn({kThreadCreate, [&] { scene.reset(); }, [&] { return scene.run(); }, failed, succeeded}),
              12);
}

}  // namespace
}  // namespace eis::test
