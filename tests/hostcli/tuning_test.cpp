#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/program/exit_codes.h"
#include "tests/hostcli/cli.h"
#include "tests/hosttools/scratch_folder.h"

namespace eishost {
namespace {

constexpr char kFile[] =
    "<?xml version='1.0'?>\n<Config>\n"
    "<NoiseReduction><ISO2><lumaLF>-40</lumaLF><chromaNrLUT>1 2 4294967295</chromaNrLUT></ISO2></NoiseReduction>\n"
    "<SFNoiseReduction><ISO8><luma>7</luma><percentLow>0.1</percentLow><alphaLUT>-5 6</alphaLUT></ISO8>\n"
    "</SFNoiseReduction></Config>";

TEST(TuningCommand, ShowsTheRecordAsTheDspGetsIt) {
    const ScratchFolder folder;
    const CliResult result = runCli("tuning show --json '" + folder.write("multiframe.xml", kFile) + "'");
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
}

TEST(TuningCommand, TakesAFileOfAnyName) {
    const ScratchFolder folder;
    for (const char* name : {"multiframe.xml", "night-multiframe.xml", "my draft.xml"}) {
        const CliResult result = runCli("tuning show '" + folder.write(name, kFile) + "'");
        ASSERT_EQ(result.exitCode, kExitOk) << name << ": " << result.err;
        EXPECT_NE(result.out.find("NoiseReduction/ISO2/lumaLF = -40\n"), std::string::npos) << name;
        EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 376) << name;
    }
}

}  // namespace
}  // namespace eishost
