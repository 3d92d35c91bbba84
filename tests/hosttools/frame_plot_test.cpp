// Plots over the frames of a clip, as the page's template draws them.
#include "host/report/frame_plot.h"

#include <gtest/gtest.h>

namespace eishost {

TEST(FramePlot, FillsItsAxesAndBreaksAtScenes) {
    const auto plot = framePlot("x", {{"before", "before", {-3, 0, 5, 1}}, {"after", "after", {0, 0, 0, 0}}}, {0, 2});
    std::vector<std::string> ticks;
    for (const auto& tick : plot["yTicks"]) ticks.push_back(tick["text"]);
    EXPECT_EQ(ticks, (std::vector<std::string>{"-4", "-2", "0", "2", "4", "6"}));
    const auto& pieces = plot["lines"][0]["pieces"];
    ASSERT_EQ(pieces.size(), 2u);
    // -3 is a tenth above -4, of a range of 10.
    EXPECT_EQ(pieces[0]["points"], "56.0,161.2 246.7,110.8");
    EXPECT_EQ(pieces[1]["points"], "437.3,26.8 628.0,94.0");
    ASSERT_EQ(plot["marks"].size(), 1u);
    EXPECT_EQ(plot["marks"][0]["at"], "342.0");
}

TEST(FramePlot, TakesOneFrameAndThousands) {
    const auto one = framePlot("x", {{"before", "before", {7}}}, {0});
    EXPECT_EQ(one["lines"][0]["pieces"].size(), 1u);
    const auto many = framePlot("x", {{"before", "before", std::vector<double>(30'000, 2.5)}}, {0});
    EXPECT_LT(many["lines"][0]["pieces"][0]["points"].get<std::string>().size(), 20'000u);
    EXPECT_LT(many["xTicks"].size(), 10u);
    EXPECT_LT(many["yTicks"].size(), 10u);
}

}  // namespace eishost
