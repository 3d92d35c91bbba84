// Which rectangle a homography leaves, and why one is refused.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

#include "include/acore_types.h"
#include "libCore/core/source/registration/motion_estimation.h"
#include "tests/harness/events.h"

namespace eis::test {
namespace {

const Events kNoLog = {};
const Events kNoArea = {"error IMG_REGISTRATION: calculate motion area error!"};
const Events kNoOverlap = {"error IMG_REGISTRATION: calculate motion area error"};
const Events kTooFar = {"error IMG_REGISTRATION: the global motion between two frames is too large!"};
const Events kBadHomography = {"error IMG_REGISTRATION: Incorrect h!"};
constexpr ST_MOTION_AREA kRefused{-7, -7, -7, -7};

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

const struct {
    const char* name;
    int width;
    int height;
    float h[9];
    ST_MOTION_AREA area;
    const Events& log;
} kCases[] = {
    // The far edges come in until they map to 2 before the frame's size, then to multiples of 8.
    {"identity", 640, 480, {1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 0, 632, 472}, kNoLog},
    {"odd size", 641, 481, {1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 0, 632, 472}, kNoLog},
    {"40 to the right", 640, 480, {1, 0, 40, 0, 1, 0, 0, 0, 1}, {0, 0, 592, 472}, kNoLog},
    // An odd position moves on to an even one.
    {"odd x, odd loss", 640, 480, {1, 0, -41, 0, 1, 0, 0, 0, 1}, {48, 0, 592, 472}, kNoLog},
    // Up to 300 may be lost, and half of the frame must be left.
    {"300 to the left", 1280, 960, {1, 0, -300, 0, 1, 0, 0, 0, 1}, {300, 0, 976, 952}, kNoLog},
    {"301 to the left", 1280, 960, {1, 0, -301, 0, 1, 0, 0, 0, 1}, kRefused, kTooFar},
    {"half exactly", 400, 400, {1, 0, -200, 0, 1, 0, 0, 0, 1}, kRefused, kNoArea},
    {"past the frame", 640, 480, {1, 0, -700, 0, 1, 0, 0, 0, 1}, kRefused, kNoOverlap},
    // No usable inverse.
    {"not numbers", 640, 480, {kNan, kNan, kNan, kNan, kNan, kNan, kNan, kNan, kNan}, kRefused, kNoArea},
    {"singular", 640, 480, {1, 1, 0, 1, 1, 0, 0, 0, 1}, kRefused, kNoArea},
    {"no width", 1280, 960, {1e6F, 0, 0, 0, 1, 0, 0, 0, 1}, kRefused, kNoArea},
    {"no height", 1280, 960, {1, 0, 0, 0, 1e6F, 0, 0, 0, 1}, kRefused, kNoArea},
    {"perspective in x", 640, 480, {1, 0, 0, 0, 1, 0, 0.00011F, 0, 1}, kRefused, kBadHomography},
    {"perspective at its bound", 640, 480, {1, 0, 0, 0, 1, 0, 0.0001F, 0, 1}, {0, 0, 640, 472}, kNoLog},
    // All elements in play; computed apart from this code, from the definition. The inverse's third element is the one
    // that results depend on.
    {"perspective and scale",
     1280,
     960,
     {1.02F, 0.01F, -30, -0.015F, 0.97F, 25, 2e-5F, -3e-5F, 1},
     {30, 0, 1232, 928},
     kNoLog},
    // Sides that the shrinking of the corners alone would leave outside.
    {"near and far sides",
     1280,
     960,
     {1.04F, 0.01F, 130, -0.08F, 0.98F, -120, -3e-5F, 4e-5F, 1.25F},
     {0, 216, 1072, 744},
     kNoLog},
    // The last element counts in the inverse alone: 2 halves the outline's shift, and the loops make up for the rest,
    // one pixel a pass, in at most 49 passes for both of their parts together.
    {"48 and 1 passes on the near side", 640, 480, {1, 0, -94, 0, 1, 0, 0, 0, 2}, {94, 0, 544, 472}, kNoLog},
    {"49 and 1 passes on the near side", 640, 480, {1, 0, -96, 0, 1, 0, 0, 0, 2}, kRefused, kNoArea},
    {"passes in y", 640, 480, {1, 0, 0, 0, 1, -94, 0, 0, 2}, {0, 94, 632, 384}, kNoLog},
};

TEST(MotionEstimation, AreasAndRefusals) {
    for (const auto& c : kCases) {
        clearEvents();
        ST_MOTION_AREA area = kRefused;
        const bool refused = !c.log.empty();
        EXPECT_EQ(MotionEstimation(c.h, c.width, c.height, &area), refused ? retStsNotEnoughKeypoints : 0) << c.name;
        EXPECT_TRUE(logWas(c.log)) << c.name;
        EXPECT_EQ(std::memcmp(&area, &c.area, sizeof area), 0)
            << c.name << ": " << area.x << " " << area.y << " " << area.width << " " << area.height;
    }
}

}  // namespace
}  // namespace eis::test
