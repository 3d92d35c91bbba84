// eis-host register and burst, end to end.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <opencv2/imgproc.hpp>
#include <sstream>

#include "host/picture/picture.h"
#include "host/program/exit_codes.h"
#include "tests/harness/tools/cli.h"
#include "tests/harness/tools/test_pictures.h"

namespace eishost {
namespace {

using nlohmann::json;

class Registration : public testing::Test {
  protected:
    // frame_00.png and on, with their truth.
    void makeBurst(const std::string& options) {
        writeImage(folder.path("photo.png"), collage(1800, 1160));
        const CliResult made =
            runCli("synth " + folder.path("photo.png") + " --out " + folder.path("") + " " + options);
        ASSERT_EQ(made.exitCode, kExitOk) << made.err;
    }
    std::string made(const std::string& name, const Picture& picture) const {
        savePicture(folder.path(name), picture);
        return folder.path(name) + " ";
    }
    json registerJson() const {
        const CliResult result = runCli("register --json " + pair_ + " --out " + folder.path("aligned.y4m") +
                                        " --overlay " + folder.path("overlay.png"));
        EXPECT_EQ(result.exitCode, kExitOk) << result.err;
        EXPECT_GE(readImage(folder.path("overlay.png")).cols, 640);
        return json::parse(result.out);
    }
    // Of each frame.
    std::vector<json> burst(const std::string& arguments) {
        burst_ = runCli("burst --json " + arguments + " --out " + folder.path("out"));
        EXPECT_EQ(burst_.exitCode, kExitOk) << burst_.err;
        std::vector<json> lines;
        std::istringstream stream(burst_.out);
        for (std::string line; std::getline(stream, line);) lines.push_back(json::parse(line));
        return lines;
    }

    TempFolder folder;
    const std::string pair_ = folder.path("frame_00.png ") + folder.path("frame_01.png");
    CliResult burst_;
};

TEST_F(Registration, AlignsAFrame) {
    makeBurst("--frames 2 --noise light --shift 20 --size 640x480");
    const json report = registerJson();
    EXPECT_EQ(report["status"], 0);
    EXPECT_EQ(report["refusal"], nullptr);
    EXPECT_GT(report["pairsKept"], 200);
    EXPECT_LT(report["pairsKept"], report["pairsIn"]);
    EXPECT_TRUE(report["cornersHeld"]);
    EXPECT_EQ(report["rectangle"]["width"].get<int>() % 8, 0);
    EXPECT_GE(report["rectangle"]["width"], 640 - 60);
    for (const char* stage : {"ransac", "registration", "flush"}) {
        EXPECT_TRUE(report["milliseconds"][stage].is_number()) << stage;
    }
    EXPECT_LT(report["truth"]["cornerError"]["largest"], 0.5);
    const json psnr = report["truth"]["psnrY"];
    EXPECT_GT(psnr["aligned"], psnr["trueHomography"].get<double>() - 0.5);
    EXPECT_GT(psnr["aligned"], psnr["unaligned"].get<double>() + 6);
}

TEST_F(Registration, DeliversWhatIsRefusedUnalignedAndSaysWhy) {
    makeBurst("--frames 2 --noise none --shift 310,0 --size 1024x480");
    const json report = registerJson();
    EXPECT_EQ(report["status"], 3);
    EXPECT_FALSE(report["aligned"]);
    EXPECT_EQ(report["rectangle"], nullptr);
    EXPECT_EQ(report["refusal"]["logLine"], "IMG_REGISTRATION: the global motion between two frames is too large!");
    const auto reason = report["refusal"]["reason"].get<std::string>();
    EXPECT_NE(reason.find("over 300 pixels"), std::string::npos) << reason;
    EXPECT_NE(reason.find("moved by 310, 0"), std::string::npos) << reason;
    const Picture frame = loadPicture(folder.path("frame_01.png"));
    const Picture delivered = loadPicture(folder.path("aligned.y4m"));
    for (int plane = 0; plane < 3; ++plane) EXPECT_EQ(delivered.planes[plane], frame.planes[plane]) << plane;
}

// The host syncs what the entry leaves to its caller; every plane and list is converted, the frames are invalidated and
// the output is flushed.
TEST_F(Registration, TracesEveryStepOfCoherenceForLumaOnly) {
    makeBurst("--frames 2 --size 640x480 --shift 10");
    const CliResult result = runCli("register --trace --luma-only " + pair_ + " --out " + folder.path("aligned.y4m"));
    ASSERT_EQ(result.exitCode, kExitOk) << result.err;
    const Picture aligned = loadPicture(folder.path("aligned.y4m"));
    EXPECT_EQ(cv::norm(aligned.mat(1), cv::Mat(aligned.mat(1).size(), CV_8U, cv::Scalar(128)), cv::NORM_INF), 0);
    std::istringstream lines(result.err);
    std::map<std::string, std::string> seen;  // by the first word of a step: the fields, without indices
    for (std::string line; std::getline(lines, line);) {
        line = line.substr(7, line.find(" (0x") - 7);
        const std::size_t field = line.rfind(' ') + 1;
        seen[line.substr(0, field)].append(" ").append(line.substr(field, line.find('[', field) - field));
    }
    EXPECT_EQ(seen["host syncs to CPU "],
              " pCurIndex pRefIndex pDistance pRefKeypoints pCurKeypoints stImgRegistrationParamsOut");
    const std::string planes = " stMultiPicIn.astInImg";
    EXPECT_EQ(seen["invalidate "], " pRansacEstParaContext stMatchPairs.pRefPoints stImgRegistrationParamsIn" + planes +
                                       planes + planes + planes + planes + planes);
    EXPECT_EQ(seen["flush "], " stMultiRegistrationPic.astInImg pStatus");
    EXPECT_EQ(seen["host syncs to DSP "], " pRansacEstParaContext stMatchPairs.pRefPoints stMatchPairs.pCurPoints");
}

TEST_F(Registration, AlignsEveryFrameOfABurstAndWritesTheResult) {
    makeBurst("--frames 3 --noise medium --shift 15 --size 640x480 --mover");
    const std::vector<json> lines = burst("--denoise " + folder.path("frame_*.png"));
    EXPECT_EQ(burst_.err, "");
    ASSERT_EQ(lines.size(), 2u);
    for (const json& line : lines) {
        EXPECT_EQ(line["status"], 0);
        EXPECT_LT(line["truth"]["cornerError"]["largest"], 1.0);
        const json& psnr = line["truth"]["psnrY"];
        EXPECT_NEAR(psnr["aligned"], lines[0]["truth"]["psnrY"]["aligned"].get<double>(), 0.3) << "the mover moves on";
        EXPECT_LT(psnr["moverArea"], psnr["aligned"].get<double>() - 5);
        for (const char* file : {"aligned", "overlay"}) {
            EXPECT_TRUE(std::filesystem::exists(line["files"][file].get<std::string>())) << file;
        }
    }
    const json result = json::parse(folder.read("out/result.json"));
    EXPECT_EQ(result["frames"], json(lines));
    EXPECT_EQ(result["width"], 640);
    for (const json& denoised : {result["referenceDenoised"], result["frames"][1]["denoised"]}) {
        EXPECT_TRUE(std::filesystem::exists(denoised["file"].get<std::string>())) << denoised;
        EXPECT_GT(denoised["psnrAfter"]["y"], denoised["psnrBefore"]["y"]) << denoised;
    }

    folder.write("out/notes.txt", "kept");
    const std::string again = "burst " + folder.path("frame_0[02].png --out ") + folder.path("out");
    EXPECT_EQ(runCli(again).exitCode, kExitUnwritable);
    const CliResult table = runCli(again + " --force");
    EXPECT_EQ(folder.read("out/notes.txt"), "kept");
    EXPECT_FALSE(std::filesystem::exists(folder.path("out/aligned_02.png")));
    EXPECT_EQ(table.err, "") << "the progress bar is for a terminal";
    EXPECT_NE(table.out.find("frame_02.png"), std::string::npos) << table.out;
}

TEST_F(Registration, TakesSeveralPicturesOfOneFileAndCutsTheirHeight) {
    const cv::Mat scene = collage(720, 600);
    std::vector<Picture> pictures;
    for (const cv::Point& at : {cv::Point(20, 20), cv::Point(26, 14)}) {
        pictures.push_back(pictureFromBgr(scene(cv::Rect(at, cv::Size(640, 484))).clone()));
    }
    savePictures(folder.path("clip.yuv"), pictures);
    const std::vector<json> lines = burst("--raw-size 640x484 " + folder.path("clip.yuv"));
    EXPECT_NE(burst_.err.find("the last 4 rows are cut off"), std::string::npos) << burst_.err;
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NEAR(lines[0]["homography"][2], -6, 0.1);
    EXPECT_NEAR(lines[0]["homography"][5], 6, 0.1);
    EXPECT_EQ(loadPicture(lines[0]["files"]["aligned"]).height, 480);
}

TEST_F(Registration, ListsABlankFrameAndKeepsWhatIsDoneBeforeABadOne) {
    const std::string good = made("a.png", pictureFromBgr(collage(320, 240)));
    made("other.png", pictureFromBgr(collage(322, 240)));
    const std::vector<json> lines = burst(good + made("blank.png", Picture(320, 240)) + good);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(lines[0]["refusal"]["reason"].get<std::string>().starts_with("blank"));
    EXPECT_EQ(lines[1]["status"], 0);
    for (const auto& [bad, exitCode] : {std::pair{"other.png", kExitUnsuitable}, {"missing.png", kExitUnreadable}}) {
        const CliResult result =
            runCli("burst " + good + good + folder.path(bad) + " " + good + "--out " + folder.path(bad) + "-out");
        EXPECT_EQ(result.exitCode, exitCode) << result.err;
        EXPECT_EQ(result.errorLines(), 1) << result.err;
        const json written = json::parse(folder.read(std::string(bad) + "-out/result.json"));
        EXPECT_EQ(written["frames"].size(), 1u);
        EXPECT_NE(result.err.find(written["error"].get<std::string>()), std::string::npos) << written;
    }
}

}  // namespace
}  // namespace eishost
