// RansacEst_AcoreAPI_EIS and Ransac_Regis_AcoreAPI_EIS as the host sees them: pairs that are cleaned, a frame that is
// warped, a frame that is refused and copied, a call that fails.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <string>

#include "tests/harness/calls.h"
#include "tests/harness/targets.h"
#include "tests/harness/traces.h"
#include "tests/harness/transcript.h"
#include "tests/registration/scene.h"

namespace eis::test {
namespace {

std::string describe(const OddBlock& block, uint8_t filling) {
    if (std::all_of(block.data(), block.data() + block.size(), [&](uint8_t byte) { return byte == filling; })) {
        return "untouched";
    }
    return std::to_string(digest(block.data(), block.size()));
}

std::string describe(const Scene& scene, int plane) {
    const Plane<uint8_t>& output = scene.output.planes[plane];
    if (samePlanes(output, scene.before.planes[plane])) return "untouched";
    if (samePlanes(output, scene.frame.planes[plane])) return "the frame's";
    return std::to_string(digest(output));
}

// Every call is noted with all that it may have written. The clock makes each time in the log 1 ms.
class RegistrationEntries : public testing::Test {
  protected:
    void TearDown() override { EXPECT_TRUE(calls_.isAsRecorded()); }

    void note(const std::string& name, const Scene& scene, int result) {
        std::ostringstream outcome;
        outcome << result << ", " << scene.context.stMatchPairs.pointNum << " pairs, points "
                << describe(scene.refPoints, 0xEE) << " " << describe(scene.curPoints, 0xEE) << ", homography "
                << describe(scene.homography, 0xEE) << ", status " << scene.status.at<int32_t>(0) << ", planes";
        for (int plane = 0; plane < 3; ++plane) outcome << " " << describe(scene, plane);
        // Bands log while the others are started, so their lines stand anywhere: here at the end.
        Events events = allEvents();
        const std::string bandLine = "info flag of AffineTransform_neon_Impl_stride_Y: 1 \n";
        const size_t bandLines = std::erase(events, bandLine);
        events.insert(events.end(), bandLines, bandLine);
        calls_.add(name, outcome.str(), events);
    }
    void run(const std::string& name, Scene& scene, ret_status (Scene::*entry)() = &Scene::run) {
        SCOPED_TRACE(name);
        clearEvents();
        const ResourceWatch watch;
        const int result = (scene.*entry)();
        EXPECT_TRUE(watch.nothingLeft());
        note(name, scene, result);
    }
    // How many calls of these kinds were made to fail.
    int failEach(const std::string& name, uint32_t calls, Scene& scene, ret_status (Scene::*entry)() = &Scene::run) {
        return failEachInTurn(
            {.calls = calls,
             .prepare = [&] { scene.reset(); },
             .run = [&] { return (scene.*entry)(); },
             .failed = [&](int result, int nth) { note(name + " " + std::to_string(nth), scene, result); },
             .succeeded = [&](int result) { note("again", scene, result); }});
    }

    const FakeClock clock_{0, 1999};
    Transcript calls_{EIS_TEST_FOLDER};
};

TEST_F(RegistrationEntries, KeepTheInliersInPlace) {
    Scene scene;
    EXPECT_EQ(scene.clean(), retStsOK);
    int kept = 0;
    for (int i = 0; i < scene.options.matches; ++i) {
        if (Scene::isWrong(i)) continue;
        const float x = static_cast<float>(scene.refTable.at<int32_t>(3 * i)) / 64;
        const float y = static_cast<float>(scene.refTable.at<int32_t>(3 * i + 1)) / 64;
        EXPECT_EQ(scene.refPoints.at<Point>(kept), (Point{x, y})) << i;
        EXPECT_EQ(scene.curPoints.at<Point>(kept), (Point{x + 12, y})) << i;
        ++kept;
    }
    EXPECT_EQ(scene.context.stMatchPairs.pointNum, kept);
    const struct {
        const char* name;
        int32_t pointNum, matchNum;
        float ratio;
    } cases[] = {
        {"too few points, whatever the matches", 4, 80, 0.8F},
        {"points below 0", -1, 80, 0.8F},
        {"matches count, not points", 5, 80, 0.8F},
        {"no matches", 5, 0, 0.8F},
        {"four matches", 5, 4, 0.8F},
        {"five matches, all right", 5, 5, 0.8F},
        {"all dropped by the ratio", 80, 80, 0},
        {"fewest matches", 5, INT_MIN, 0.8F},
    };
    for (const auto& c : cases) {
        scene.reset();
        scene.context.stMatchPairs.pointNum = c.pointNum;
        scene.context.matchNum = c.matchNum;
        scene.context.ratio = c.ratio;
        run(c.name, scene, &Scene::clean);
    }
}

// Noise at the bound: of pairs and iterations a little more or less would show.
TEST_F(RegistrationEntries, CleanByFixedParameters) {
    Scene scene({.noise = 4, .seed = 156});
    run("noise", scene, &Scene::clean);
    EXPECT_EQ(scene.context.stMatchPairs.pointNum, 43);
}

TEST_F(RegistrationEntries, WarpAndFlush) {
    uint64_t best[2] = {};
    for (const int idx : {1, 2, 3}) {
        for (const bool lumaOnly : {false, true}) {
            Scene scene({.idx = idx});
            scene.block.lumaOnly = lumaOnly ? -1 : 0;
            forEachTarget([&] {
                scene.reset();
                EXPECT_EQ(scene.run(), retStsOK);
                if (best[lumaOnly] == 0) best[lumaOnly] = scene.output.digestAll();
                EXPECT_EQ(scene.output.digestAll(), best[lumaOnly]);
            });
            scene.reset();
            run(lumaOnly ? "luma only" : "all planes", scene);
            // The scene's shift, but for the last bits of the fit.
            double difference = 0;
            for (int i = 0; i < 440; ++i) {
                difference += std::abs(scene.output.planes[0].at(i, i) - scene.frame.planes[0].at(i + 12, i));
            }
            EXPECT_LT(difference / 440, 1);
        }
    }
}

// Addresses that belong together are all converted before any is tested.
TEST_F(RegistrationEntries, EachAddressNull) {
    Scene scene;
    const auto refuse = [&](const std::string& name, ret_status (Scene::*entry)()) {
        scene.reset();
        scene.space.refuse(name);
        run(name, scene, entry);
        scene.space.allow();
    };
    run("all good", scene);
    for (const char* name : {"context",  "in",       "out",      "homography", "refPoints", "curPoints", "distance",
                             "curIndex", "refIndex", "refTable", "curTable",   "ref0",      "ref1",      "ref2",
                             "cur0",     "cur1",     "cur2",     "out0",       "out1",      "out2",      "status"}) {
        refuse(name, &Scene::run);
    }
    // The pair addresses of the input block are its own words, converted after the estimation.
    for (DeviceAddress* word : {&scene.in.astPairs[0].pCurPoints, &scene.in.astPairs[0].pRefPoints}) {
        const DeviceAddress good = std::exchange(*word, 0);
        scene.reset();
        run("a pair address", scene);
        *word = good;
    }
    for (const char* name : {"refPoints", "curPoints", "distance", "curIndex", "refIndex", "refTable", "curTable"}) {
        refuse(name, &Scene::clean);
    }
}

// A refusal is a result: the frame is delivered as it is, all three planes of it even where luma alone is flushed.
TEST_F(RegistrationEntries, CopyWhatIsRefused) {
    const struct {
        const char* name;
        SceneOptions options;
        int pointNum = 80;         // in the block
        bool inOneColumn = false;  // no sample can be drawn of such points, and no homography fits them
        int format = 2;
    } cases[] = {
        {"too few pairs to begin with", {}, 4},
        {"too few pairs to align by", {.matches = 8}, 8},
        {"eight pairs are enough", {.matches = 9}, 9},
        {"too far", {.width = 1000, .shift = 310}},
        {"no fit", {}, 80, true},
        // Rows past the last whole band stay as they were.
        {"height off the grid", {.width = 1000, .height = 470, .shift = 310}},
        {"width off the grid", {.width = 513, .height = 256}, 4},
        {"another format", {}, 80, false, 1},
    };
    for (const auto& c : cases) {
        for (const bool lumaOnly : {false, true}) {
            Scene scene(c.options);
            scene.context.stMatchPairs.pointNum = c.pointNum;
            scene.block.lumaOnly = lumaOnly ? 1 : 0;
            scene.in.astInImg[0].format = c.format;
            for (int i = 0; c.inOneColumn && i < c.options.matches; ++i) scene.refTable.put(3 * i, 64 * 300);
            run(c.name, scene);
        }
    }
}

// Cleaning takes the first allocation; the last one is the thread records': the caller's thread does their work. When a
// band's thread cannot be started, the caller's thread warps it all: the same pixels.
TEST_F(RegistrationEntries, EachAllocationAndThreadOfTheWarpFailing) {
    Scene scene;
    EXPECT_EQ(failEach("no memory", kAllocation, scene), 3);
    EXPECT_EQ(failEach("no memory to clean", kAllocation, scene, &Scene::clean), 1);
    EXPECT_EQ(failEach("no thread", kThreadCreate, scene), 4);
    scene.block.lumaOnly = 1;
    EXPECT_EQ(failEach("no thread for luma", kThreadCreate, scene), 4);
}

// Only the last band's thread decides over a plane: without it the call ends there; another band is left uncopied, and
// the call goes on.
TEST_F(RegistrationEntries, EachThreadOfTheCopyFailing) {
    Scene scene({.width = 1000, .shift = 310});
    (void)takeTraces();
    EXPECT_EQ(failEach("no thread", kThreadCreate, scene), 12);
    calls_.add("last trace", takeTraces().back().text, {});
}

}  // namespace
}  // namespace eis::test
