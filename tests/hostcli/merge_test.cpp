#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <opencv2/imgproc.hpp>

#include "host/picture/picture.h"
#include "host/program/exit_codes.h"
#include "tests/harness/files.h"
#include "tests/harness/tools/cli.h"
#include "tests/harness/tools/test_pictures.h"

namespace eishost {
namespace {

constexpr int kFrames = 6;

class MergeCommand : public testing::Test {
  protected:
    void SetUp() override {
        writeImage(folder.path("photo.png"), collage(800, 620));
        ASSERT_EQ(runCli("synth " + folder.path("photo.png") + " --frames " + std::to_string(kFrames) +
                         " --noise medium --mover --shift 15 --size 640x480 --out " + folder.path("b"))
                      .exitCode,
                  kExitOk);
    }
    nlohmann::json merge(const std::string& arguments) const {
        const CliResult result = runCli("merge --json --truth " + folder.path("b ") + arguments);
        EXPECT_EQ(result.exitCode, kExitOk) << arguments << '\n' << result.err;
        return result.exitCode == kExitOk ? nlohmann::json::parse(result.out) : nlohmann::json();
    }

    TempFolder folder;
    const std::string frames = folder.path("b") + "/frame_*.png ";
    const std::string out = "--out " + folder.path("out.png ");
};

TEST_F(MergeCommand, MergesWhatStoodStillAndKeepsTheReferenceWhereSomethingMoved) {
    const nlohmann::json robust = merge(frames + out + "--weight-map " + folder.path("held.png"));
    EXPECT_EQ(robust["frames"], "6 of 6");
    const nlohmann::json& scores = robust["truth"];
    const auto gain = [&](const char* stage, const char* above, const char* key) {
        return scores[stage].flatten()[key].get<double>() - scores[above].flatten()[key].get<double>();
    };
    for (const char* score : {"/psnrYOutsideMover", "/everywhere/psnr/u", "/everywhere/psnr/v"}) {
        EXPECT_GT(gain("merged", "reference", score), 3) << score;
        EXPECT_GT(gain("denoised", "merged", score), -0.1) << score;
    }
    EXPECT_GT(gain("denoised", "reference", "/psnrYInMoverArea"), 2);
    EXPECT_GT(gain("denoised", "mean", "/psnrYInMoverArea"), 3) << "ghosts";

    const nlohmann::json mean = merge(frames + out + "--weights mean --no-denoise")["truth"];
    EXPECT_EQ(mean["merged"], mean["mean"]);
    EXPECT_EQ(mean["mean"], scores["mean"]);

    const cv::Mat held = readImage(folder.path("held.png"), cv::IMREAD_GRAYSCALE);
    cv::Mat moved;  // at its place in the reference, the object is in no other frame
    cv::erode(readImage(folder.path("b/mover_00.png"), cv::IMREAD_GRAYSCALE), moved, cv::Mat::ones(9, 9, CV_8U));
    EXPECT_LT(cv::mean(held, moved)[0], 0.5 * cv::mean(held, moved == 0)[0]);

    // Masks that cover everything leave nothing of the other frames.
    std::filesystem::create_directory(folder.path("g"));
    for (int i = 1; i < kFrames; ++i) {
        writeImage(folder.path("g/ghost_0" + std::to_string(i) + ".png"), cv::Mat(480, 640, CV_8U, cv::Scalar(255)));
    }
    EXPECT_EQ(merge(frames + out + "--ghosts " + folder.path("g"))["held"], 1);
}

TEST_F(MergeCommand, LeavesOutWhatItCannotUse) {
    writeImage(folder.path("small.png"), collage(320, 240));
    writeImage(folder.path("blank.png"), cv::Mat(480, 640, CV_8UC3, cv::Scalar::all(90)));
    cv::Mat turned;
    cv::flip(readImage(folder.path("b/frame_01.png")), turned, -1);
    writeImage(folder.path("turned.png"), turned);
    const std::string bad = folder.path("small.png ") + folder.path("none.png ") + folder.path("turned.png ") +
                            folder.path("blank.png ") + folder.write("text.jpg", "no picture") + ' ';
    const nlohmann::json some = merge(frames + bad + out);
    EXPECT_EQ(some["frames"], "6 of 11");
    for (int i = kFrames; i < kFrames + 5; ++i) EXPECT_TRUE(some["members"][i]["leftOut"].is_string()) << i;

    const nlohmann::json alone = merge(folder.path("b/frame_00.png ") + bad + out);
    EXPECT_EQ(alone["frames"], "1 of 6");
    EXPECT_GT(alone["truth"]["denoised"]["psnrYOutsideMover"], alone["truth"]["reference"]["psnrYOutsideMover"]);
}

TEST_F(MergeCommand, TakesClipsAndRawPicturesAsItTakesFiles) {
    std::vector<Picture> pictures;
    for (int i = 0; i < kFrames; ++i) {
        pictures.push_back(loadPicture(folder.path("b/frame_0" + std::to_string(i) + ".png")));
    }
    savePictures(folder.path("clip.y4m"), pictures);
    savePictures(folder.path("dump.nv12"), pictures);
    const std::string inputs[] = {frames, folder.path("clip.y4m "), folder.path("dump.nv12 --raw-size 640x480 ")};
    std::string first;
    for (const std::string& input : inputs) {
        const CliResult result = runCli("merge " + input + "--out " + folder.path("out.y4m"));
        EXPECT_EQ(result.exitCode, kExitOk) << result.err;
        if (first.empty()) first = folder.read("out.y4m");
        EXPECT_TRUE(folder.read("out.y4m") == first) << input;
    }
}

}  // namespace
}  // namespace eishost
