#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>
#include <sstream>

#include "host/exit_codes.h"
#include "host/nearest_name.h"
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
    std::istringstream lines(result.out);
    std::vector<std::string> rows;
    for (std::string line; std::getline(lines, line);) rows.push_back(line);
    ASSERT_EQ(rows.size(), 1025u);
    EXPECT_EQ(rows[0], "input,shrink0,shrink1,shrink2,luma,lumaGain");
    EXPECT_EQ(rows[1], "-512,0,0,0,,");
    EXPECT_EQ(rows[1 + 512 + 64], "64,64,30,64,0,0");
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
    EXPECT_EQ(runCli("tables fast --plot /nowhere/curves.png").exitCode, kExitUnwritable);
}

TEST(TablesCommand, SaysWhatIsWrongInOneLine) {
    const struct {
        const char* arguments;
        const char* says;
    } cases[] = {{"tables fast nrTHH=5", "did you mean nrTH?"},
                 {"tables fast shrinkRatio0=5", "the keys are nrTailRatio, nrLumaDetail"},
                 {"tables fast nrTH", "want KEY=VALUE"},
                 {"tables fast nrTH=", "want nrTH=a whole number"},
                 {"tables fast nrTH=1.5", "want nrTH=a whole number"},
                 {"tables fast nrTH=4000000000", "want nrTH=a whole number"},
                 {"tables fast nrShadingStrength=x", "want nrShadingStrength=a number"},
                 {"tables fast --plot curves.jpg", "the plot is a .png"}};
    for (const auto& c : cases) {
        const CliResult result = runCli(c.arguments);
        EXPECT_EQ(result.exitCode, kExitUsage) << c.arguments;
        EXPECT_EQ(result.errorLines(), 1) << result.err;
        EXPECT_NE(result.err.find(c.says), std::string::npos) << c.arguments << ": " << result.err;
    }
    const CliResult beyond = runCli("tables fast nrTH=255");
    EXPECT_EQ(beyond.exitCode, kExitOk);
    EXPECT_NE(beyond.err.find("note: nrTH=255 is outside 0 to 254"), std::string::npos) << beyond.err;
}

TEST(NearestName, FindsSlipsOfTheKeyboardAndNothingElse) {
    const std::vector<std::string> known = {"lumaMed", "lumaLF", "lumaHF1", "chromaS", "detail"};
    const struct {
        const char* typed;
        const char* nearest;
    } cases[] = {{"lumaMde", "lumaMed"},
                 {"lumaLf1", "lumaLF"},
                 {"LUMAHF2", "lumaHF1"},
                 {"cromaS", "chromaS"},
                 {"detial", "detail"},
                 {"sharpness", ""},
                 {"", ""}};
    for (const auto& c : cases) EXPECT_EQ(nearestName(c.typed, known), c.nearest) << c.typed;
    EXPECT_EQ(editDistance("abc", "ACB"), 1);
    EXPECT_EQ(editDistance("", "abc"), 3);
}

}  // namespace
}  // namespace eishost
