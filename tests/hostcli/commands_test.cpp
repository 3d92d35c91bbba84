// eis-host scale, tables and tuning, end to end.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <opencv2/imgproc.hpp>

#include "host/picture/picture.h"
#include "host/program/exit_codes.h"
#include "tests/harness/tools/cli.h"
#include "tests/harness/tools/test_pictures.h"

namespace eishost {
namespace {

// Every sample of a plane differs from its neighbours, and the planes from each other.
Picture testPicture(int width, int height) {
    Picture picture(width, height);
    for (int plane = 0; plane < 3; ++plane) {
        cv::Mat samples = picture.mat(plane);
        for (int y = 0; y < samples.rows; ++y) {
            for (int x = 0; x < samples.cols; ++x) {
                samples.at<std::uint8_t>(y, x) = static_cast<std::uint8_t>(x * 7 + y * 13 + plane * 85);
            }
        }
    }
    return picture;
}

TEST(ScaleCommand, CropsAllPlanesAtTheSamePlace) {
    const TempFolder folder;
    const Picture picture = testPicture(300, 200);
    savePicture(folder.path("in.yuv"), picture);
    const CliResult result = runCli("scale --raw-size 300x200 --crop 34,58,160,90 --size 160x90 " +
                                    folder.path("in.yuv") + " " + folder.path("out.y4m"));
    ASSERT_EQ(result.exitCode, kExitOk) << result.err;
    const Picture cropped = loadPicture(folder.path("out.y4m"));
    for (int plane = 0; plane < 3; ++plane) {
        const int part = plane == 0 ? 1 : 2;
        const cv::Rect area(34 / part, 58 / part, 160 / part, 90 / part);
        EXPECT_EQ(cv::norm(cropped.mat(plane), picture.mat(plane)(area), cv::NORM_INF), 0) << plane;
    }
}

TEST(ScaleCommand, HalvesEveryGoodPictureOfAPipeAndKeepsWhatTheClipSaysOfItself) {
    const TempFolder folder;
    const std::vector<Picture> pictures(3, testPicture(64, 64));
    savePictures(folder.path("in.y4m"), pictures);
    std::string clip = folder.read("in.y4m");
    const std::string fields = "F24:1 It A10:11 C420mpeg2 XNOTE=a\nFRAME Itpp\n";
    clip.replace(0, clip.find("FRAME\n") + 6, "YUV4MPEG2 W64 H64 " + fields);
    folder.write("in.y4m", clip.substr(0, clip.size() - 1));
    const CliResult result = runCli("scale - - --size 32x32 <" + folder.path("in.y4m"));
    EXPECT_EQ(result.exitCode, kExitUnreadable);
    EXPECT_NE(result.err.find("picture 3 is cut short; the output holds the 2 pictures before it"), std::string::npos)
        << result.err;
    EXPECT_TRUE(result.out.starts_with("YUV4MPEG2 W32 H32 " + fields)) << result.out.substr(0, 80);
    const std::vector<Picture> halves = loadPictures(folder.write("out.y4m", result.out));
    ASSERT_EQ(halves.size(), 2u);
    cv::Mat means;
    cv::resize(pictures[0].mat(0), means, {32, 32}, 0, 0, cv::INTER_AREA);
    EXPECT_LE(cv::norm(halves[1].mat(0), means, cv::NORM_INF), 1);  // the entry truncates
}

// Values worked out by hand from the tables' definition.
TEST(TablesCommand, GivesEveryTableAsJsonAndCsv) {
    const CliResult fast = runCli(
        "tables fast nrLumaRatio=0 nrUVRatio=0 NRTH=127 nrTailRatio=-64 nrLumaDetail=-99 nrShadingStrength=0 --json");
    ASSERT_EQ(fast.exitCode, kExitOk) << fast.err;
    const auto json = nlohmann::json::parse(fast.out);
    EXPECT_EQ(json["entry"], "CalcFastDn2dControl_AcoreAPI");
    EXPECT_EQ(json["block"]["nrTH"], 127);
    const auto at = [&](const char* table, int input) {
        const auto& values = json["tables"][table]["values"];
        return values[json["tables"][table]["zeroInput"].get<int>() + input].get<int>();
    };
    EXPECT_EQ(at("luma", 30), 873);
    EXPECT_EQ(at("luma", -30), -873);
    EXPECT_EQ(at("lumaGain", 30), 853);  // 8000 / 8192 of it
    EXPECT_EQ(at("chroma", 112), 896);
    EXPECT_EQ(at("chromaSoft", 112), 538);
    EXPECT_EQ(at("shading", 112), 0);
    EXPECT_EQ(at("threshold", 36), 18);
    EXPECT_EQ(at("tail", 5), 2);  // strength 14

    const CliResult shrink = runCli("tables shrink shrinkRatio1=0 --json");
    ASSERT_EQ(shrink.exitCode, kExitOk) << shrink.err;
    const auto tables = nlohmann::json::parse(shrink.out)["tables"];
    EXPECT_EQ(tables["shrink0"]["values"][512 + 128], 128);  // not given: left as it is
    EXPECT_EQ(tables["shrink1"]["values"][512 + 128], 96);
    EXPECT_EQ(tables["luma"]["values"].size(), 241);
    const CliResult csv = runCli("tables shrink shrinkRatio1=0 --csv");
    EXPECT_EQ(std::count(csv.out.begin(), csv.out.end(), '\n'), 1025);
    EXPECT_EQ(csv.out.find("input,shrink0,shrink1,shrink2,luma,lumaGain\n-512,0,0,0,,\n"), 0u);
    EXPECT_NE(csv.out.find("\n64,64,30,64,0,0\n"), std::string::npos);
}

TEST(TablesCommand, DrawsTheCurves) {
    const TempFolder folder;
    const CliResult result = runCli("tables fast nrTH=127 --plot '" + folder.path("curves.png") + "'");
    ASSERT_EQ(result.exitCode, kExitOk) << result.err;
    const cv::Mat picture = readImage(folder.path("curves.png"));
    ASSERT_GT(picture.cols, 1000);
    // The colour of the first curve, in the panel of the only table that corrects something.
    cv::Mat blue;
    const cv::Mat panel = picture(cv::Rect(0, picture.rows / 2, picture.cols / 2, picture.rows / 2));
    cv::inRange(panel, cv::Scalar(160, 100, 0), cv::Scalar(195, 130, 20), blue);
    EXPECT_GT(cv::countNonZero(blue), 500);
}

constexpr char kTuningFile[] =
    "<?xml version='1.0'?>\n<Config>\n"
    "<NoiseReduction><ISO2><lumaLF>-40</lumaLF><chromaNrLUT>1 2 4294967295</chromaNrLUT></ISO2></NoiseReduction>\n"
    "<SFNoiseReduction><ISO8><luma>7</luma><percentLow>0.1</percentLow><alphaLUT>-5 6</alphaLUT></ISO8>\n"
    "</SFNoiseReduction></Config>";

TEST(TuningCommand, ShowsTheRecordAsTheDspGetsIt) {
    const TempFolder folder;
    const CliResult result = runCli("tuning show --json '" + folder.write("multiframe.xml", kTuningFile) + "'");
    ASSERT_EQ(result.exitCode, kExitOk) << result.err;
    const auto json = nlohmann::json::parse(result.out);
    EXPECT_EQ(json["NoiseReduction"]["ISO2"]["lumaLF"], -40);
    EXPECT_EQ(json["NoiseReduction"]["ISO1"]["lumaLF"], -100);
    EXPECT_EQ(json["NoiseReduction"]["ISO8"]["isovalue"], 4950);
    const auto& lut = json["NoiseReduction"]["ISO2"]["chromaNrLUT"];
    ASSERT_EQ(lut.size(), 40u);
    EXPECT_EQ(lut[2], 4294967295u);
    EXPECT_EQ(lut[3], 0);
    const auto& level = json["SFNoiseReduction"]["ISO8"];
    EXPECT_EQ(level["luma"], 0);
    EXPECT_EQ(level["percentLow"].dump(), "0.1");
    EXPECT_EQ(level["percentHigh"].dump(), "0.8");
    EXPECT_EQ(level["alphaLUT"][0], -5);
    EXPECT_EQ(json["RouteSwitch"]["ColorOnlyPixelPercent"], 30);
    // A file may have any name.
    const CliResult text = runCli("tuning show '" + folder.write("my draft.xml", kTuningFile) + "'");
    EXPECT_NE(text.out.find("NoiseReduction/ISO2/lumaLF = -40\n"), std::string::npos) << text.err;
    EXPECT_EQ(std::count(text.out.begin(), text.out.end(), '\n'), 376);
}

}  // namespace
}  // namespace eishost
