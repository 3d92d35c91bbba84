// Command lines and inputs that a command refuses: an exit code that tells why, and one line for the user.
#include <gtest/gtest.h>

#include <filesystem>
#include <opencv2/imgcodecs.hpp>

#include "host/picture/picture.h"
#include "host/program/exit_codes.h"
#include "tests/hostcli/cli.h"
#include "tests/hostcli/test_pictures.h"
#include "tests/hosttools/scratch_folder.h"

namespace eishost {
namespace {

struct Refusal {
    std::string arguments;
    int exitCode;
    const char* says = "";
};

void expectRefusals(const std::string& command, const std::vector<Refusal>& refusals) {
    for (const auto& [arguments, exitCode, says] : refusals) {
        const CliResult result = runCli(command + " " + arguments);
        EXPECT_EQ(result.exitCode, exitCode) << command << " " << arguments << '\n' << result.err;
        EXPECT_EQ(result.errorLines(), 1) << command << " " << arguments << '\n' << result.err;
        EXPECT_NE(result.err.find(says), std::string::npos) << command << " " << arguments << '\n' << result.err;
    }
}

class Refusals : public testing::Test {
  protected:
    // Names a picture of the collage.
    std::string made(const std::string& name, int width, int height) const {
        cv::imwrite(folder.file(name), collage(width, height));
        return folder.file(name) + " ";
    }
    std::string blank(const std::string& name, int width, int height) const {
        savePicture(folder.file(name), Picture(width, height));
        return folder.file(name) + " ";
    }

    ScratchFolder folder;
    const std::string in = blank("in.y4m", 256, 192);
    const std::string out = folder.file("out.png ");
};

TEST_F(Refusals, Scale) {
    const std::string files = in + out;
    expectRefusals("scale", {{files + "--size 33x32", kExitUsage},
                             {files + "--size 0x0", kExitUsage},
                             {files + "--size big", kExitUsage},
                             {files + "--size 99999999999x2", kExitUsage},
                             {files + "--size 32x32 --crop 1,2,4,4", kExitUsage},
                             {files + "--size 32x32 --crop 0,0,4", kExitUsage},
                             {files + "--size 32x32 --crop 240,0,32,32", kExitUnsuitable},
                             {files + "--size 32x32 --crop -2,0,32,32", kExitUnsuitable},
                             {files + "--size 32x32 --crop 0,0,2147483646,2", kExitUnsuitable},
                             {folder.file("none.png ") + out + "--size 32x32", kExitUnreadable},
                             {in + folder.file("nowhere/out.png") + " --size 32x32", kExitUnwritable},
                             {in + folder.file("out.gif") + " --size 32x32", kExitUsage}});
}

TEST_F(Refusals, RegisterAndBurst) {
    const std::string good = made("good.png", 640, 480);
    const std::string tiny = made("tiny.png", 64, 48);
    const std::string featureless = blank("blank.png", 640, 480);
    expectRefusals("register", {{good + featureless, kExitUnsuitable},
                                {featureless + good, kExitUnsuitable},
                                {tiny + tiny, kExitUnsuitable},
                                {good + made("small.png", 320, 240), kExitUnsuitable},
                                {good + folder.write("empty.png", ""), kExitUnreadable},
                                {good + folder.write("text.jpg", "no picture"), kExitUnreadable},
                                {folder.write("a.yuv ", "short") + good + "--raw-size 640x480", kExitUnreadable},
                                {good + good + "--raw-size 640", kExitUsage},
                                {good + good + "--out " + folder.file("aligned.bmp"), kExitUsage},
                                {good + good + "--overlay " + folder.file("overlay.y4m"), kExitUsage},
                                {good + good + "--overlay " + folder.file("no/overlay.png"), kExitUnwritable},
                                {good + good + "--out " + folder.file("no/aligned.png"), kExitUnwritable}});
    expectRefusals("burst", {{good + "--out " + folder.file("out"), kExitUsage, "at least one frame"},
                             {featureless + good + "--out " + folder.file("out"), kExitUnsuitable, "blank"},
                             {good + good + "--out " + folder.file("good.png/out"), kExitUnwritable}});
}

TEST_F(Refusals, DenoiseAndSearch) {
    const std::string files = in + folder.file("out.y4m ");
    const std::string other = blank("other.png", 192, 256);
    expectRefusals("denoise",
                   {{files, kExitUsage, "--iso-row"},
                    {files + "lumaLF=40", kExitOk, "note: lumaLF 40 is outside the useful range, -100 to 0"},
                    {files + "lumaLFF=3", kExitUsage, "did you mean lumaLF"},
                    {files + "lumaLF=soft", kExitUsage, "whole number"},
                    {files + "chromaEdgeLevel=256", kExitUsage, "0 to 255"},
                    {files + "chromaNrLUT=1,,2", kExitUsage, "up to 40 numbers"},
                    {files + "--tuning x.xml lumaLF=3", kExitUsage, "needs --iso-row"},
                    {files + "--iso-row 1 --mask " + other, kExitUsage, "--chroma-only low"},
                    {files + "--iso-row 1 --tuning none.xml", kExitUnreadable, "no such file"},
                    {files + "--iso-row 1 --tuning " + folder.write("short.xml", "<Config/>"), kExitLibrary, "refuses"},
                    {files + "--iso-row 1 --chroma-only low --mask " + other, kExitUnsuitable, "the mask has 192x256"},
                    {files + "--iso-row 1 --truth " + other, kExitUnsuitable, "has 192x256"},
                    {blank("small.y4m", 126, 128) + folder.file("out.y4m --iso-row 1"), kExitUnsuitable, "too small"}});
    expectRefusals("search", {{in, kExitUsage, "want pairs"},
                              {in + in, kExitUnsuitable, "noise"},
                              {"--set lumaLF=-80 " + in + other, kExitUnsuitable, "differ in size"}});
}

TEST_F(Refusals, CommandLine) {
    expectRefusals("", {{"", kExitUsage, "eis-host: which command? register burst"},
                        {"denois a b", kExitUsage, "unknown command denois, did you mean denoise?"},
                        {"help tables fst", kExitUsage, "unknown command fst, did you mean fast?"},
                        {"scale a b --sise 2x2", kExitUsage, "unknown option --sise, did you mean --size?"},
                        {"denoise", kExitUsage, "IN is required"}});
    EXPECT_EQ(runCli("--version").out.find("eis-host "), 0u);
    EXPECT_NE(runCli("help").out.find("Exit codes: 0 done"), std::string::npos);
    EXPECT_EQ(runCli("help tables fast").out, runCli("tables fast --help").out);
}

// What reading drops is no reason to refuse a picture.
TEST_F(Refusals, NotesOnReading) {
    cv::imwrite(folder.file("deep.png"), cv::Mat(48, 64, CV_16UC4, cv::Scalar::all(30000)));
    cv::imwrite(folder.file("plain.jpg"), collage(64, 48));
    const std::string jpeg = folder.read("plain.jpg");
    const std::string profile("\xff\xe2\x00\x10ICC_PROFILE\0\1\1", 18);
    const std::string fields = "YUV4MPEG2 W64 H48 F25:1 It\nFRAME\n" + std::string(64 * 48 * 3 / 2, 'x');
    const std::string rest = " " + out + "--size 32x32";
    expectRefusals("scale", {{made("odd.png", 65, 48) + rest, kExitOk, "odd.png: the last column is left out"},
                             {folder.write("i.y4m", fields) + " " + out + "--size 32x48", kExitOk, "is interlaced"},
                             {folder.file("deep.png") + rest, kExitOk, "dropped on reading: alpha, depth beyond 8"},
                             {folder.write("p.jpg", jpeg.substr(0, 2) + profile + jpeg.substr(2)) + rest, kExitOk,
                              "p.jpg: dropped on reading: the colour profile"}});
}

TEST_F(Refusals, Synth) {
    const std::string photo = made("photo.png", 320, 240) + "--out " + folder.file("b ");
    std::filesystem::create_directory(folder.file("older"));
    folder.write("older/frame_07.png", "");
    const std::string older = folder.file("photo.png --out ") + folder.file("older ");
    expectRefusals("synth", {{older, kExitUnwritable, "--force"},
                             {older + "--force", kExitUnwritable, "does not name it"},
                             {photo + "--noise loud", kExitUsage},
                             {photo + "--noise white:x", kExitUsage},
                             {photo + "--noise white:-1", kExitUsage},
                             {photo + "--shift 3,", kExitUsage},
                             {photo + "--shift nan", kExitUsage},
                             {photo + "--size big", kExitUsage},
                             {folder.file("none.png") + " --out " + folder.file("b"), kExitUnreadable},
                             {photo + "--size 320x240", kExitUnsuitable},
                             {photo + "--crop 64x64", kExitUsage},
                             {photo + "--crop 200x200+121+0", kExitUnsuitable},
                             {photo + "--shift 310,0", kExitUnsuitable},
                             {in + "--out " + folder.file("in.y4m/below"), kExitUnwritable}});
}

// What is printed and did not arrive is an error, though the work was done.
TEST_F(Refusals, StandardOutputThatTakesNothing) {
    const std::string good = made("good.png", 320, 240);
    for (const std::string& command :
         {"register " + good + good + "--json", "burst " + good + good + "--json --out " + folder.file("b"),
          "denoise " + in + out + "--iso-row 1 --json", "denoise " + in + "- --iso-row 1",
          "scale " + in + out + "--size 32x32", "scale " + in + "- --size 32x32",
          "synth " + good + "--frames 1 --out " + folder.file("s"), std::string("tables fast --json"),
          std::string("tables shrink --csv"), std::string("tables fast"), std::string("--help")}) {
        const CliResult result = runCli(command, "/dev/full");
        EXPECT_EQ(result.exitCode, kExitUnwritable) << command;
        EXPECT_NE(result.err.find("standard output: cannot be written: No space left"), std::string::npos) << command;
    }
}

TEST_F(Refusals, TablesAndTuning) {
    expectRefusals("tables fast", {{"nrTHH=5", kExitUsage, "did you mean nrTH?"},
                                   {"shrinkRatio0=5", kExitUsage, "the keys are nrTailRatio, nrLumaDetail"},
                                   {"nrTH", kExitUsage, "want KEY=VALUE"},
                                   {"nrTH=", kExitUsage, "want nrTH=a whole number"},
                                   {"nrTH=1.5", kExitUsage, "want nrTH=a whole number"},
                                   {"nrTH=4000000000", kExitUsage, "want nrTH=a whole number"},
                                   {"nrShadingStrength=x", kExitUsage, "want nrShadingStrength=a number"},
                                   {"--plot curves.jpg", kExitUsage, "the plot is a .png"},
                                   {"--plot /nowhere/curves.png", kExitUnwritable},
                                   {"nrTH=255", kExitOk, "note: nrTH=255 is outside 0 to 254"}});
    expectRefusals("tuning show", {{folder.file("missing.xml"), kExitUnreadable},
                                   {folder.write("short.xml", "<Config/>"), kExitLibrary, "refuses this file"}});
}

}  // namespace
}  // namespace eishost
