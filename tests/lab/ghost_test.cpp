// eis-lab ghost, on the built program.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "host/picture/picture.h"
#include "host/program/exit_codes.h"
#include "host/synth/synth_truth.h"
#include "tests/harness/files.h"
#include "tests/harness/tools/cli.h"

namespace {

using eishost::Picture;
using eishost::runCli;
using nlohmann::json;

// A burst of two frames with a box that is brighter in the second one by 30, and its aligned picture, which has a
// margin of 40 columns that shows something else.
class LabGhost : public testing::Test {
  protected:
    LabGhost() {
        std::filesystem::create_directories(folder_ + "aligned");
        Picture picture(400, 304);
        for (int i = 0; i < 400 * 304; ++i) picture.planes[0][i] = static_cast<std::uint8_t>(80 + i % 400 / 8);
        for (int plane : {1, 2}) picture.planes[plane].assign(picture.planes[plane].size(), 128);
        eishost::savePicture(folder_ + "frame_00.png", picture);
        Picture mask(400, 304);
        for (int plane : {1, 2}) mask.planes[plane].assign(mask.planes[plane].size(), 128);
        eishost::savePicture(folder_ + "mover_00.png", mask);
        picture.mat(0)(kBox) += 30;
        mask.mat(0)(kBox) = 255;
        eishost::savePicture(folder_ + "mover_01.png", mask);
        picture.mat(0)(cv::Rect(360, 0, 40, 304)) = 250;
        eishost::savePicture(folder_ + "aligned/aligned_01.png", picture);
        eishost::BurstTruth truth;
        truth.frames.resize(2);
        for (int i = 0; i < 2; ++i) {
            truth.frames[i].frame = "frame_0" + std::to_string(i) + ".png";
            truth.frames[i].moverMask = "mover_0" + std::to_string(i) + ".png";
        }
        eishost::saveTruth(folder_, truth);
        const json frame{{"frame", "b/frame_01.png"},
                         {"files", {{"aligned", "b/aligned/aligned_01.png"}}},
                         {"rectangle", {{"x", 0}, {"y", 0}, {"width", 360}, {"height", 304}}}};
        std::ofstream(folder_ + "aligned/result.json") << json{{"frames", {frame}}};
    }

    eishost::CliResult run(const std::string& rest) const {
        return runCli("ghost " + folder_ + "aligned/aligned_01.png " + folder_ + "frame_00.png " + rest);
    }

    static constexpr int kSide = 60;
    const cv::Rect kBox{100, 120, kSide, kSide};
    const eis::test::TempFolder scratch_;
    const std::string folder_ = scratch_.path("");
};

TEST_F(LabGhost, MasksWhatMovedAndScoresIt) {
    const std::string keys = "lumaTH_Low=8 lumath_high=8 chromaTH_Low=20 chromaTH_High=20 ";
    const auto result = run(keys + "--json --out " + folder_ + "mask.png --overlay " + folder_ + "overlay.png");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const json out = json::parse(result.out);
    EXPECT_EQ(out["thresholds"]["lumaTH_High"], 8);
    EXPECT_TRUE(
        out["thresholds"]["source"].get<std::string>().starts_with("multiframe.xml, GhostDetection/ISO5, luma"));
    EXPECT_EQ(out["truth"]["recall"], 1.0);
    // The box grows by up to seven quarter pixels, and the margin reaches in as far.
    EXPECT_NEAR(out["truth"]["falseArea"].get<double>(), (100 * 100 - 3600 + 20 * 304) / (360.0 * 304), 0.03);
    const Picture mask = eishost::loadPicture(folder_ + "mask.png");
    EXPECT_EQ(mask.mat(0).at<std::uint8_t>(150, 130), 255);
    EXPECT_EQ(mask.mat(0).at<std::uint8_t>(30, 30), 0);
    EXPECT_EQ(eishost::loadBgr(folder_ + "overlay.png").cols, 900);

    // Above the thresholds nothing shows; the text says the same as the JSON.
    const auto none = run("lumaTH_Low=200 lumaTH_High=200 chromaTH_Low=200 chromaTH_High=200");
    EXPECT_NE(none.out.find("ghosts      0 pixels by luma"), std::string::npos) << none.out;
    EXPECT_NE(none.out.find("0.000 of the mover"), std::string::npos) << none.out;
}

// A bar from top to bottom is masked alike in all rows, and nothing is at the right end, whatever the width.
TEST_F(LabGhost, TakesPicturesOfAnyWidth) {
    for (const int width : {130, 262, 384}) {
        Picture picture(width, 276);
        for (auto& plane : picture.planes) std::fill(plane.begin(), plane.end(), std::uint8_t{100});
        eishost::savePicture(folder_ + "ref.y4m", picture);
        picture.mat(0).colRange(20, 40) = 200;
        eishost::savePicture(folder_ + "bar.y4m", picture);
        const auto result = runCli("ghost " + folder_ + "bar.y4m " + folder_ + "ref.y4m --out " + folder_ + "mask.png");
        ASSERT_EQ(result.exitCode, 0) << result.err;
        const cv::Mat mask = eishost::loadPicture(folder_ + "mask.png").mat(0).rowRange(16, 260).clone();
        EXPECT_EQ(cv::norm(mask, cv::repeat(mask.row(0), mask.rows, 1), cv::NORM_INF), 0) << width;
        EXPECT_EQ(mask.at<std::uint8_t>(0, 30), 255) << width;
        EXPECT_EQ(cv::countNonZero(mask.colRange(90, width)), 0) << width;
    }
}

TEST_F(LabGhost, AndTheOtherCommandsSayWhatIsWrong) {
    const std::string session = eis::test::readFile(EIS_TEST_FOLDER "/refusals.txt");
    EXPECT_EQ(eishost::replay(session, scratch_), session);
    std::ofstream(folder_ + "aligned/result.json") << "{\"frames\":[{}]}";
    EXPECT_EQ(run("").exitCode, 2);
}

}  // namespace
