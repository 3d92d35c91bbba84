// The L1-optimal path where the frame leaves it room, and where it does not.
#include <gtest/gtest.h>

#include <cmath>

#include "host/motion/l1_path.h"

namespace eishost {
namespace {

TEST(L1Path, KeepsToTheBoundsWhereItCan) {
    constexpr FrameBounds kBounds{.aspect = 0.5625, .zoom = 1.1, .overhang = 0};
    for (const bool room : {true, false}) {
        SCOPED_TRACE(room);
        PathWindow window;
        for (int frame = 0; frame < 12; ++frame) {
            window.camera.push_back({1, 0, frame % 2 == 0 ? 0.02 : -0.02, 0});
            window.slack.push_back({});
        }
        // A frame whose shape would have to move by its whole width.
        if (!room) window.slack[5].fill({2, 0});
        const std::vector<Similarity> path = l1Path(window, kBounds, {3, 10, 10});
        ASSERT_EQ(path.size(), 12U);
        for (std::size_t frame = 0; frame < path.size(); ++frame) {
            if (!room && frame == 5) continue;
            EXPECT_LE(path[frame].a + std::abs(path[frame].dx), 1 + 1e-6) << frame;
            EXPECT_GE(path[frame].a, 0.98 / 1.1 - 1e-6) << frame;
        }
        // The shake is gone from the result, which stands still.
        const Similarity first = window.camera[0] * path[0];
        const Similarity next = window.camera[1] * path[1];
        if (room) {
            EXPECT_NEAR(first.dx, next.dx, 1e-6);
        }
    }
}

}  // namespace
}  // namespace eishost
