#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>

#include "host/program/exit_codes.h"
#include "tests/hostcli/cli.h"
#include "tests/hosttools/scratch_folder.h"

namespace eishost {
namespace {

// Values worked out by hand from the tables' definition.
TEST(TablesCommand, GivesEveryTableAsJson) {
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
}

TEST(TablesCommand, GivesOneCsvRowForEachInput) {
    const CliResult result = runCli("tables shrink shrinkRatio1=0 --csv");
    ASSERT_EQ(result.exitCode, kExitOk) << result.err;
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 1025);
    EXPECT_EQ(result.out.find("input,shrink0,shrink1,shrink2,luma,lumaGain\n-512,0,0,0,,\n"), 0u);
    EXPECT_NE(result.out.find("\n64,64,30,64,0,0\n"), std::string::npos);
}

TEST(TablesCommand, DrawsTheCurves) {
    const ScratchFolder folder;
    const CliResult result = runCli("tables fast nrTH=127 --plot '" + folder.file("curves.png") + "'");
    ASSERT_EQ(result.exitCode, kExitOk) << result.err;
    const cv::Mat picture = cv::imread(folder.file("curves.png"));
    ASSERT_GT(picture.cols, 1000);
    // The colour of the first curve, in the panel of the only table that corrects something.
    cv::Mat blue;
    const cv::Mat panel = picture(cv::Rect(0, picture.rows / 2, picture.cols / 2, picture.rows / 2));
    cv::inRange(panel, cv::Scalar(160, 100, 0), cv::Scalar(195, 130, 20), blue);
    EXPECT_GT(cv::countNonZero(blue), 500);
}

}  // namespace
}  // namespace eishost
