// RansacEst_AcoreAPI_EIS as the host sees it.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "tests/harness/calls.h"
#include "tests/registration/scene.h"

namespace eis::test {
namespace {

TEST(RansacEntry, KeepsTheInliersInPlace) {
    Scene scene;
    EXPECT_EQ(scene.clean(), retStsOK);
    EXPECT_TRUE(eventsWere(cleaningEvents(scene.options.matches)));
    EXPECT_EQ(scene.context.stMatchPairs.pointNum, scene.inliers());
    int kept = 0;
    for (int i = 0; i < scene.options.matches; ++i) {
        if (i % 8 == 5) continue;
        const float x = static_cast<float>(scene.refTable.at<int32_t>(3 * i)) / 64;
        const float y = static_cast<float>(scene.refTable.at<int32_t>(3 * i + 1)) / 64;
        EXPECT_EQ(scene.refPoints.at<Point>(kept), (Point{x, y})) << i;
        EXPECT_EQ(scene.curPoints.at<Point>(kept), (Point{x + 12, y})) << i;
        ++kept;
    }
}

// Both point arrays are converted before either is tested, and so are the five lists and tables.
TEST(RansacEntry, EachAddressNull) {
    Scene scene;
    const Events all = cleaningEvents(scene.options.matches);
    for (const std::string name :
         {"refPoints", "curPoints", "distance", "curIndex", "refIndex", "refTable", "curTable"}) {
        SCOPED_TRACE(name);
        const bool points = name.find("Points") != std::string::npos;
        scene.space.allow();
        scene.space.refuse(name);
        scene.reset();
        clearEvents();
        EXPECT_EQ(scene.clean(), retStsBadAddress);
        const Events expected =
            points
                ? joined({through(all, "convert refPoints"), {"error ransac RansacEstimation convert adrr Invalid\n"}})
                : joined({all, {"error ransac RansacEstimation knnResult convert adrr Invalid\n"}});
        EXPECT_TRUE(eventsWere(expected));
        EXPECT_EQ(scene.context.stMatchPairs.pointNum, scene.options.matches);
        EXPECT_EQ(scene.refPoints.bytes(), std::vector<uint8_t>(scene.refPoints.size(), 0xEE));
    }
}

TEST(RansacEntry, EachAllocationFailing) {
    Scene scene;
    const Events all = cleaningEvents(scene.options.matches);
    const int faults =
        failEachInTurn({.calls = kAllocation,
                        .prepare = [&] { scene.reset(); },
                        .run = [&] { return scene.clean(); },
                        .failed =
                            [&](int result, int /*nth*/) {
                                EXPECT_EQ(result, retStsNoMemory);
                                EXPECT_TRUE(eventsWere(joined({all, {"info ransac malloc failed!"}})));
                                EXPECT_EQ(scene.context.stMatchPairs.pointNum, scene.options.matches);
                                // The pairs were built before.
                                EXPECT_EQ(scene.refPoints.at<Point>(1).x, scene.refTable.at<int32_t>(3) / 64.0F);
                            },
                        .succeeded =
                            [&](int result) {
                                EXPECT_EQ(result, retStsOK);
                                EXPECT_EQ(scene.context.stMatchPairs.pointNum, scene.inliers());
                            }});
    EXPECT_EQ(faults, 1);
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
        {"matches below 0", 5, -1, 0.8F, retStsNoMemory, 5},
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
        if (c.pointNum < 5) {
            EXPECT_EQ(scene.refPoints.bytes(), std::vector<uint8_t>(scene.refPoints.size(), 0xEE));
        }
        Events expected = cleaningEvents(c.pointNum);
        if (c.status == retStsNoMemory) expected.emplace_back("info ransac malloc failed!");
        EXPECT_TRUE(eventsWere(expected));
    }
}

// All matches of one reference point collapse to one pair at most, which is too few.
TEST(RansacEntry, OneRepeatedPoint) {
    for (const bool clear : {false, true}) {
        Scene scene;
        for (int i = 0; i < scene.options.matches; ++i) {
            scene.refIndex.put<int16_t>(i, 7);
            scene.distance.put<int32_t>(i, clear && i == 30 ? 5 : 100);
        }
        EXPECT_EQ(scene.clean(), retStsNotEnoughKeypoints);
        EXPECT_EQ(scene.context.stMatchPairs.pointNum, clear ? 1 : 0);
    }
}

// Pairs of which no sample can be drawn are left as they are, and counted.
TEST(RansacEntry, NoUsableSample) {
    Scene scene;
    for (int i = 0; i < scene.options.matches; ++i) {
        for (const OddBlock* table : {&scene.refTable, &scene.curTable}) {
            table->put<int32_t>(3 * i, 64 * (300 + i % 9));
            table->put<int32_t>(3 * i + 1, 64 * (200 + i));
        }
    }
    EXPECT_EQ(scene.clean(), retStsOK);
    EXPECT_EQ(scene.context.stMatchPairs.pointNum, scene.options.matches);
    for (int i = 0; i < scene.options.matches; ++i) {
        EXPECT_EQ(scene.refPoints.at<Point>(i), (Point{300.0F + i % 9, 200.0F + i})) << i;
    }
}

}  // namespace
}  // namespace eis::test
