#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>
#include <sstream>

#include "host/picture/picture.h"
#include "host/program/exit_codes.h"
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
                     " --frames 3 --noise medium --shift 15 --size 640x480 --mover --out " + folder.file("b"))
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
        const nlohmann::json& psnr = line["truth"]["psnrY"];
        EXPECT_NEAR(psnr["aligned"], lines[0]["truth"]["psnrY"]["aligned"].get<double>(), 0.3) << "the mover moves on";
        EXPECT_LT(psnr["moverArea"], psnr["aligned"].get<double>() - 5);
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

    folder.write("out/notes.txt", "kept");
    const std::string again = "burst " + folder.file("b") + "/frame_0[02].png --out " + folder.file("out");
    EXPECT_EQ(runCli(again).exitCode, kExitUnwritable);
    const CliResult table = runCli(again + " --force");
    EXPECT_EQ(folder.read("out/notes.txt"), "kept");
    EXPECT_FALSE(std::filesystem::exists(folder.file("out/aligned_02.png")));
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

TEST(BurstCommand, ListsABlankFrameAsRefused) {
    const ScratchFolder folder;
    savePicture(folder.file("a.png"), pictureFromBgr(collage(320, 240)));
    savePicture(folder.file("blank.png"), Picture(320, 240));
    const std::string good = folder.file("a.png") + " ";
    const CliResult burst =
        runCli("burst --json " + good + folder.file("blank.png ") + good + "--out " + folder.file("out"));
    ASSERT_EQ(burst.exitCode, kExitOk) << burst.err;
    const std::vector<nlohmann::json> lines = jsonLines(burst.out);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0]["refusal"]["reason"].get<std::string>().substr(0, 5), "blank");
    EXPECT_EQ(lines[1]["status"], 0);
}

TEST(BurstCommand, KeepsWhatIsDoneBeforeABadFrame) {
    const ScratchFolder folder;
    savePicture(folder.file("a.png"), pictureFromBgr(collage(320, 240)));
    savePicture(folder.file("other.png"), pictureFromBgr(collage(322, 240)));
    const struct {
        const char* bad;
        int exitCode;
    } cases[] = {{"other.png", kExitUnsuitable}, {"missing.png", kExitUnreadable}};
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
