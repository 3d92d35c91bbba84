#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>
#include <sstream>

#include "host/exit_codes.h"
#include "host/picture.h"
#include "tests/hostcli/cli.h"
#include "tests/hostcli/test_pictures.h"
#include "tests/hosttools/scratch_folder.h"

namespace eishost {
namespace {

std::vector<nlohmann::json> jsonLines(const std::string& text) {
    std::vector<nlohmann::json> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(nlohmann::json::parse(line));
    return lines;
}

TEST(BurstCommand, AlignsEveryFrameAndWritesTheResult) {
    const ScratchFolder folder;
    cv::imwrite(folder.file("photo.png"), collage(800, 620));
    ASSERT_EQ(runCli("synth " + folder.file("photo.png") +
                     " --frames 3 --noise medium --shift 15 --size 640x480 --out " + folder.file("b"))
                  .exitCode,
              kExitOk);
    const CliResult burst =
        runCli("burst --json --denoise " + folder.file("b") + "/frame_*.png --out " + folder.file("out"));
    ASSERT_EQ(burst.exitCode, kExitOk) << burst.err;
    EXPECT_EQ(burst.err, "");
    const std::vector<nlohmann::json> lines = jsonLines(burst.out);
    ASSERT_EQ(lines.size(), 2u);
    for (const nlohmann::json& line : lines) {
        EXPECT_EQ(line["status"], 0);
        EXPECT_LT(line["truth"]["cornerError"]["largest"], 1.0);
        EXPECT_TRUE(std::filesystem::exists(line["files"]["aligned"].get<std::string>()));
        EXPECT_TRUE(std::filesystem::exists(line["files"]["overlay"].get<std::string>()));
    }
    const nlohmann::json result = nlohmann::json::parse(folder.read("out/result.json"));
    EXPECT_EQ(result["frames"], nlohmann::json(lines));
    EXPECT_EQ(result["width"], 640);
    for (const nlohmann::json& denoised : {result["referenceDenoised"], result["frames"][1]["denoised"]}) {
        EXPECT_TRUE(std::filesystem::exists(denoised["file"].get<std::string>())) << denoised;
        EXPECT_GT(denoised["psnrAfter"]["y"], denoised["psnrBefore"]["y"]) << denoised;
    }

    const CliResult table = runCli("burst " + folder.file("b") + "/frame_*.png --out " + folder.file("out"));
    EXPECT_EQ(table.err, "") << "the progress bar is for a terminal";
    EXPECT_NE(table.out.find("frame_02.png"), std::string::npos) << table.out;
}

TEST(BurstCommand, TakesSeveralPicturesOfOneFileAndCutsTheirHeight) {
    const ScratchFolder folder;
    const cv::Mat scene = collage(720, 600);
    std::vector<Picture> pictures;
    for (const cv::Point& at : {cv::Point(20, 20), cv::Point(26, 14)}) {
        pictures.push_back(pictureFromBgr(scene(cv::Rect(at, cv::Size(640, 484))).clone()));
    }
    savePictures(folder.file("clip.yuv"), pictures);
    const CliResult burst =
        runCli("burst --json --raw-size 640x484 " + folder.file("clip.yuv") + " --out " + folder.file("out"));
    ASSERT_EQ(burst.exitCode, kExitOk) << burst.err;
    EXPECT_NE(burst.err.find("the last 4 rows are cut off"), std::string::npos) << burst.err;
    const std::vector<nlohmann::json> lines = jsonLines(burst.out);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0]["status"], 0);
    EXPECT_NEAR(lines[0]["homography"][2], -6, 0.1);
    EXPECT_NEAR(lines[0]["homography"][5], 6, 0.1);
    EXPECT_EQ(loadPicture(lines[0]["files"]["aligned"]).height, 480);
}

TEST(BurstCommand, KeepsWhatIsDoneBeforeABadFrame) {
    const ScratchFolder folder;
    savePicture(folder.file("a.png"), pictureFromBgr(collage(320, 240)));
    savePicture(folder.file("blank.png"), Picture(320, 240));
    savePicture(folder.file("other.png"), pictureFromBgr(collage(322, 240)));
    const struct {
        const char* bad;
        int exitCode;
    } cases[] = {{"blank.png", kExitUnsuitable}, {"other.png", kExitUnsuitable}, {"missing.png", kExitUnreadable}};
    for (const auto& [bad, exitCode] : cases) {
        const std::string good = folder.file("a.png") + " ";
        const CliResult burst =
            runCli("burst " + good + good + folder.file(bad) + " " + good + "--out " + folder.file(bad) + "-out");
        EXPECT_EQ(burst.exitCode, exitCode) << burst.err;
        EXPECT_EQ(burst.errorLines(), 1) << burst.err;
        const nlohmann::json result = nlohmann::json::parse(folder.read(std::string(bad) + "-out/result.json"));
        EXPECT_EQ(result["frames"].size(), 1u);
        EXPECT_NE(burst.err.find(result["error"].get<std::string>()), std::string::npos) << result;
    }
}

}  // namespace
}  // namespace eishost
