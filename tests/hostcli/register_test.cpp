#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <sstream>

#include "host/picture/picture.h"
#include "host/program/exit_codes.h"
#include "tests/hostcli/cli.h"
#include "tests/hostcli/test_pictures.h"
#include "tests/hosttools/scratch_folder.h"

namespace eishost {
namespace {

class RegisterCommand : public testing::Test {
  protected:
    // frame_00.png and on, with their truth, of the size asked for.
    void makeBurst(const std::string& options) {
        cv::imwrite(folder.file("photo.png"), collage(1800, 1160));
        const CliResult made =
            runCli("synth " + folder.file("photo.png") + " --out " + folder.file("") + " " + options);
        ASSERT_EQ(made.exitCode, kExitOk) << made.err;
    }

    nlohmann::json registerJson(const std::string& options) {
        const CliResult result = runCli("register --json " + folder.file("frame_00.png") + " " +
                                        folder.file("frame_01.png") + " " + options);
        EXPECT_EQ(result.exitCode, kExitOk) << result.err;
        return nlohmann::json::parse(result.out);
    }

    ScratchFolder folder;
};

TEST_F(RegisterCommand, AlignsAFrame) {
    makeBurst("--frames 2 --noise light --shift 20 --size 640x480");
    const nlohmann::json report =
        registerJson("--out " + folder.file("aligned.png") + " --overlay " + folder.file("overlay.png"));
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
    const nlohmann::json psnr = report["truth"]["psnrY"];
    EXPECT_GT(psnr["aligned"], psnr["trueHomography"].get<double>() - 0.5);
    EXPECT_GT(psnr["aligned"], psnr["unaligned"].get<double>() + 6);
    EXPECT_EQ(loadPicture(folder.file("aligned.png")).width, 640);
    EXPECT_GE(cv::imread(folder.file("overlay.png")).cols, 640);
}

TEST_F(RegisterCommand, KeepsAPictureThatDidNotMove) {
    const Picture picture = pictureFromBgr(collage(640, 480));
    savePicture(folder.file("frame_00.png"), picture);
    savePicture(folder.file("frame_01.png"), picture);
    const Picture stored = loadPicture(folder.file("frame_00.png"));
    const nlohmann::json report = registerJson("--out " + folder.file("aligned.y4m"));
    const nlohmann::json& rectangle = report["rectangle"];
    const cv::Rect inside(rectangle["x"], rectangle["y"], rectangle["width"], rectangle["height"]);
    EXPECT_GE(inside.width, 624);  // some samples go to the fit's noise and to whole groups of 8
    EXPECT_GE(inside.height, 464);
    const Picture aligned = loadPicture(folder.file("aligned.y4m"));
    EXPECT_LE(cv::norm(aligned.mat(0)(inside), stored.mat(0)(inside), cv::NORM_INF), 4);  // 1/128 of a step, each way
    const int right = inside.br().x;
    EXPECT_EQ(cv::norm(aligned.mat(0).col(right), aligned.mat(0).col(right - 1), cv::NORM_INF), 0);
    EXPECT_FALSE(report.contains("truth"));
}

TEST_F(RegisterCommand, DeliversWhatIsRefusedUnalignedAndSaysWhy) {
    makeBurst("--frames 2 --noise none --shift 310,0 --size 1024x480");
    const nlohmann::json report =
        registerJson("--out " + folder.file("aligned.y4m") + " --overlay " + folder.file("overlay.png"));
    EXPECT_EQ(report["status"], 3);
    EXPECT_FALSE(report["aligned"]);
    EXPECT_EQ(report["rectangle"], nullptr);
    EXPECT_EQ(report["refusal"]["logLine"], "IMG_REGISTRATION: the global motion between two frames is too large!");
    EXPECT_NE(report["refusal"]["reason"].get<std::string>().find("over 300 pixels"), std::string::npos);
    EXPECT_NE(report["refusal"]["reason"].get<std::string>().find("moved by 310, 0"), std::string::npos);
    const Picture frame = loadPicture(folder.file("frame_01.png"));
    const Picture delivered = loadPicture(folder.file("aligned.y4m"));
    for (int plane = 0; plane < 3; ++plane) EXPECT_EQ(delivered.planes[plane], frame.planes[plane]) << plane;
    EXPECT_FALSE(cv::imread(folder.file("overlay.png")).empty());
}

// The host syncs what the entry leaves to its caller; every plane and list is converted, the frames are invalidated and
// the output is flushed.
TEST_F(RegisterCommand, TracesEveryStepOfCoherenceForLumaOnly) {
    makeBurst("--frames 2 --size 640x480 --shift 10");
    const CliResult result = runCli("register --trace --luma-only " + folder.file("frame_00.png") + " " +
                                    folder.file("frame_01.png") + " --out " + folder.file("aligned.y4m"));
    ASSERT_EQ(result.exitCode, kExitOk) << result.err;
    const Picture aligned = loadPicture(folder.file("aligned.y4m"));
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

}  // namespace
}  // namespace eishost
