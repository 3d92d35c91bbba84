#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>

#include "host/lab/key_page.h"
#include "host/lab/lint.h"
#include "host/lab/setting_words.h"
#include "host/program/exit_codes.h"
#include "tests/harness/files.h"
#include "tests/harness/tools/cli.h"
#include "tests/harness/tools/test_pictures.h"

namespace eislab {
namespace {

using namespace eishost;

// A file of some keys, with a comment that makes it long enough for the reader.
std::string fileOf(const std::string& content) {
    return "<?xml version='1.0'?>\n<Config>\n<!--" + std::string(200, '.') + "-->\n" + content + "\n</Config>\n";
}

std::string_view bytesOf(const ST_CONFIG_XML& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

TEST(Template, LoadsCleanAndYieldsTheRecordOfDefaults) {
    const TempFolder folder;
    const CliResult written = runCli("tuning template --out '" + folder.path("multiframe.xml") + "'");
    ASSERT_EQ(written.exitCode, kExitOk) << written.err;
    const std::string name = " '" + folder.path("multiframe.xml") + "'";
    for (const std::string& command : {std::string("template"), "lint" + name, "explain --json" + name}) {
        EXPECT_EQ(runCli("tuning " + command + " >/dev/full").exitCode, kExitUnwritable) << command;
    }
    const TuningFile file = loadTuningFile(folder.path("multiframe.xml"));
    ASSERT_FALSE(file.refused());
    EXPECT_TRUE(lintTuning(file).empty());
    for (const KeyReading& reading : readKeys(file)) {
        EXPECT_EQ(reading.origin.source, eis::TuningSource::file) << reading.key->path;
    }
    const TuningFile empty = loadTuningFile(folder.write("empty.xml", fileOf("")));
    EXPECT_EQ(bytesOf(file.record), bytesOf(empty.record));
    EXPECT_EQ(file.record.astIso[7].isovalue, 4950);
    EXPECT_EQ(runCli("tuning template").out, folder.read("multiframe.xml"));
    EXPECT_EQ(keyPage(), eis::test::readFile(EIS_TEST_FOLDER "/../../docs/tuning-keys.md"))
        << "eis-lab tuning keys writes it";
}

TEST(Explain, TellsValueAndOrigin) {
    const TempFolder folder;
    const std::string file = folder.write(
        "multiframe.xml", fileOf("<Global><ExposureFusionFlag>1</ExposureFusionFlag></Global>\n"
                                 "<SFNoiseReduction><ISO2><luma>-300</luma><shading>dim</shading>\n"
                                 "<percentLow>0.1</percentLow><alphaLUT>7 8</alphaLUT></ISO2></SFNoiseReduction>"));
    const CliResult all = runCli("tuning explain --json '" + file + "'");
    ASSERT_EQ(all.exitCode, kExitOk) << all.err;
    const auto json = nlohmann::json::parse(all.out);
    ASSERT_EQ(json.size(), 376u);
    const auto of = [&](const std::string& key) {
        for (const auto& entry : json) {
            if (entry["key"] == key) return entry["value"].dump() + ", " + entry["origin"].get<std::string>();
        }
        return std::string("missing");
    };
    EXPECT_EQ(of("Global/ExposureFusionFlag"), "1, line 4");
    EXPECT_EQ(of("SFNoiseReduction/ISO2/luma"), "-100, line 5 says -300: clamped");
    EXPECT_EQ(of("SFNoiseReduction/ISO2/shading"), "1, line 5 has no number: default");
    EXPECT_EQ(of("SFNoiseReduction/ISO2/percentLow"), "0.1, line 6");
    EXPECT_EQ(of("SFNoiseReduction/ISO2/alphaLUT"), "[7,8,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0], line 6, in part");
    EXPECT_EQ(of("NoiseReduction/ISO8/isovalue"), "4950, default");
    const CliResult given = runCli("tuning explain --given '" + file + "'");
    EXPECT_EQ(std::count(given.out.begin(), given.out.end(), '\n'), 5) << given.out;
}

TEST(Diff, ComparesEffectiveValues) {
    const TempFolder folder;
    // A spelled-out default, a clamped value and another case of letters make no difference.
    const std::string a = folder.write(
        "a.xml", fileOf("<NoiseReduction><ISO1><chromaS>-90</chromaS><lumaLF>-20</lumaLF></ISO1></NoiseReduction>"
                        "<SFNoiseReduction><ISO1><luma>-400</luma></ISO1></SFNoiseReduction>"));
    const std::string b =
        folder.write("b.xml", fileOf("<noisereduction><iso1><LUMALF>-20</LUMALF></iso1></noisereduction>"
                                     "<SFNoiseReduction><ISO1><luma>-100</luma></ISO1></SFNoiseReduction>"));
    EXPECT_EQ(runCli("tuning diff '" + a + "' '" + b + "'").out, "same values\n");
    const std::string c = folder.write(
        "c.xml",
        fileOf("<NoiseReduction><ISO1><lumaLF>-30</lumaLF><chromaNrLUT>5</chromaNrLUT></ISO1></NoiseReduction>"));
    const CliResult other = runCli("tuning diff --json '" + a + "' '" + c + "'");
    EXPECT_EQ(other.exitCode, kExitFindings);
    const auto json = nlohmann::json::parse(other.out);
    ASSERT_EQ(json.size(), 2u) << other.out;
    EXPECT_EQ(json[0]["key"], "NoiseReduction/ISO1/lumaLF");
    EXPECT_EQ(json[0]["a"], -20);
    EXPECT_EQ(json[0]["b"], -30);
    EXPECT_EQ(json[1]["key"], "NoiseReduction/ISO1/chromaNrLUT");
    // Nothing of one file shows in the other, which a load in one process would leave in a short table.
    EXPECT_EQ(nlohmann::json::parse(runCli("tuning diff --json '" + c + "' '" + a + "'").out)[1]["b"][0], 0);
}

TEST(Plot, TakesStrengthsFromWordsAndFiles) {
    const TempFolder folder;
    const std::string file = folder.write(
        "multiframe.xml",
        fileOf("<SFNoiseReduction><ISO3><isovalue>400</isovalue><luma>-30</luma><chroma>-20</chroma>"
               "<detail>-50</detail><shading>1.5</shading></ISO3></SFNoiseReduction>"
               "<NoiseReduction><ISO3><lumaLF>-10</lumaLF><lumaHF2>-64</lumaHF2></ISO3></NoiseReduction>"));
    using eishost::TableKind;
    const NamedSettings fast = settingsFromWords(TableKind::kFast, {file, "iso=3", "nrTH=40", "nrUVRatio=-5"});
    EXPECT_EQ(describeSettings(fast.settings),
              "nrLumaDetail -50, nrLumaRatio -30, nrUVRatio -5, nrTH 40, nrShadingStrength 1.5");
    EXPECT_EQ(fast.source, "multiframe.xml, SFNoiseReduction/ISO3 (400)");
    const NamedSettings shrink = settingsFromWords(TableKind::kShrink, {"iso=3", file});
    EXPECT_EQ(describeSettings(shrink.settings),
              "lumaRatio -10, shrinkRatio0 0, shrinkRatio1 -64, shrinkRatio2 0, lumaDetail -128");
    const std::string png = folder.path("both.png");
    const CliResult drawn = runCli("tables plot '" + file + "' iso=3 --against nrTH=90 --out '" + png + "'");
    ASSERT_EQ(drawn.exitCode, kExitOk) << drawn.err;
    EXPECT_FALSE(readImage(png).empty());
}

}  // namespace
}  // namespace eislab
