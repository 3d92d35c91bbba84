#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <sstream>

#include "host/exit_codes.h"
#include "host/picture.h"
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

TEST_F(RegisterCommand, LeavesChromaAloneForLumaOnly) {
    makeBurst("--frames 2 --size 640x480 --shift 10");
    const nlohmann::json report = registerJson("--luma-only --out " + folder.file("aligned.y4m"));
    EXPECT_EQ(report["status"], 0);
    EXPECT_GT(report["truth"]["psnrY"]["aligned"], 25);
    const Picture aligned = loadPicture(folder.file("aligned.y4m"));
    EXPECT_EQ(cv::norm(aligned.mat(1), cv::Mat(aligned.mat(1).size(), CV_8U, cv::Scalar(128)), cv::NORM_INF), 0);
}

TEST_F(RegisterCommand, TracesEveryStepOfCoherence) {
    makeBurst("--frames 2 --size 640x480 --shift 10");
    const CliResult result =
        runCli("register --trace " + folder.file("frame_00.png") + " " + folder.file("frame_01.png"));
    ASSERT_EQ(result.exitCode, kExitOk) << result.err;
    std::istringstream lines(result.err);
    std::string seen;
    for (std::string line; std::getline(lines, line);) seen += line.substr(0, line.find(" (0x")) + '\n';
    EXPECT_EQ(seen,
              "trace: host syncs to CPU pCurIndex\n"
              "trace: host syncs to CPU pRefIndex\n"
              "trace: host syncs to CPU pDistance\n"
              "trace: host syncs to CPU pRefKeypoints\n"
              "trace: host syncs to CPU pCurKeypoints\n"
              "trace: host syncs to CPU stImgRegistrationParamsOut\n"
              "trace: host syncs to CPU block of Ransac_Regis_AcoreAPI_EIS\n"
              "trace: convert pRansacEstParaContext\n"
              "trace: convert stImgRegistrationParamsIn\n"
              "trace: convert stImgRegistrationParamsOut\n"
              "trace: convert pHomography\n"
              "trace: invalidate pRansacEstParaContext\n"
              "trace: convert stMatchPairs.pCurPoints\n"
              "trace: convert stMatchPairs.pRefPoints\n"
              "trace: invalidate stMatchPairs.pRefPoints\n"
              "trace: convert pDistance\n"
              "trace: convert pCurIndex\n"
              "trace: convert pRefIndex\n"
              "trace: convert pRefKeypoints\n"
              "trace: convert pCurKeypoints\n"
              "trace: invalidate stImgRegistrationParamsIn\n"
              "trace: convert stMatchPairs.pCurPoints\n"
              "trace: convert stMatchPairs.pRefPoints\n"
              "trace: convert stMultiPicIn.astInImg[0].pData[0]\n"
              "trace: convert stMultiPicIn.astInImg[0].pData[1]\n"
              "trace: convert stMultiPicIn.astInImg[0].pData[2]\n"
              "trace: convert stMultiPicIn.astInImg[1].pData[0]\n"
              "trace: convert stMultiPicIn.astInImg[1].pData[1]\n"
              "trace: convert stMultiPicIn.astInImg[1].pData[2]\n"
              "trace: convert stMultiRegistrationPic.astInImg[1].pData[0]\n"
              "trace: convert stMultiRegistrationPic.astInImg[1].pData[1]\n"
              "trace: convert stMultiRegistrationPic.astInImg[1].pData[2]\n"
              "trace: convert pStatus\n"
              "trace: invalidate stMultiPicIn.astInImg[0].pData[0]\n"
              "trace: invalidate stMultiPicIn.astInImg[0].pData[1]\n"
              "trace: invalidate stMultiPicIn.astInImg[0].pData[2]\n"
              "trace: invalidate stMultiPicIn.astInImg[1].pData[0]\n"
              "trace: invalidate stMultiPicIn.astInImg[1].pData[1]\n"
              "trace: invalidate stMultiPicIn.astInImg[1].pData[2]\n"
              "trace: convert stMultiRegistrationPic.astInImg[1].pData[0]\n"
              "trace: flush stMultiRegistrationPic.astInImg[1].pData[0]\n"
              "trace: convert pStatus\n"
              "trace: flush pStatus\n"
              "trace: convert stMultiRegistrationPic.astInImg[1].pData[1]\n"
              "trace: flush stMultiRegistrationPic.astInImg[1].pData[1]\n"
              "trace: convert stMultiRegistrationPic.astInImg[1].pData[2]\n"
              "trace: flush stMultiRegistrationPic.astInImg[1].pData[2]\n"
              "trace: host syncs to DSP pRansacEstParaContext\n"
              "trace: host syncs to DSP stMatchPairs.pRefPoints\n"
              "trace: host syncs to DSP stMatchPairs.pCurPoints\n");
}

TEST_F(RegisterCommand, RefusesBadInputsInOneLine) {
    makeBurst("--frames 1 --size 640x480");
    const std::string good = folder.file("frame_00.png") + " ";
    savePicture(folder.file("blank.png"), Picture(640, 480));
    savePicture(folder.file("small.png"), Picture(320, 240));
    savePicture(folder.file("tiny.png"), pictureFromBgr(collage(64, 48)));
    cv::imwrite(folder.file("odd.png"), collage(641, 480));
    const struct {
        std::string arguments;
        int exitCode;
    } cases[] = {
        {good + folder.file("blank.png"), kExitUnsuitable},
        {folder.file("blank.png") + " " + good, kExitUnsuitable},
        {folder.file("tiny.png") + " " + folder.file("tiny.png"), kExitUnsuitable},
        {good + folder.file("small.png"), kExitUnsuitable},
        {good + folder.file("odd.png"), kExitUnsuitable},
        {good + folder.file("missing.png"), kExitUnreadable},
        {good + folder.write("empty.png", ""), kExitUnreadable},
        {good + folder.write("text.jpg", "no picture"), kExitUnreadable},
        {folder.write("a.yuv", std::string(1000, 'a')) + " " + good + "--raw-size 640x480", kExitUnreadable},
        {good + good + "--raw-size 640", kExitUsage},
        {good + good + "--out " + folder.file("aligned.bmp"), kExitUsage},
        {good + good + "--overlay " + folder.file("overlay.y4m"), kExitUsage},
        {good + good + "--overlay " + folder.file("nowhere/overlay.png"), kExitUnwritable},
        {good + good + "--out " + folder.file("nowhere/aligned.png"), kExitUnwritable},
    };
    for (const auto& [arguments, exitCode] : cases) {
        const CliResult result = runCli("register " + arguments);
        EXPECT_EQ(result.exitCode, exitCode) << arguments << '\n' << result.err;
        EXPECT_EQ(result.errorLines(), 1) << arguments << '\n' << result.err;
    }
}

}  // namespace
}  // namespace eishost
