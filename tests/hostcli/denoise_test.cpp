#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <opencv2/imgproc.hpp>
#include <regex>
#include <tuple>

#include "host/dsp/call_record.h"
#include "host/picture/picture.h"
#include "host/program/exit_codes.h"
#include "tests/harness/files.h"
#include "tests/harness/tools/cli.h"
#include "tests/harness/tools/test_pictures.h"

namespace eishost {
namespace {

Picture noisy(const Picture& clean, double sigma) {
    Picture picture = clean;
    cv::RNG random(1);
    for (int plane = 0; plane < 3; ++plane) {
        cv::Mat samples = picture.mat(plane);
        cv::Mat noise(samples.size(), CV_16S);
        random.fill(noise, cv::RNG::NORMAL, 0, sigma);
        cv::add(samples, noise, samples, cv::noArray(), CV_8U);
    }
    return picture;
}

TEST(DenoiseCommand, GainsOnTheTruthWithTheShippedRowsAndCallsTheEntriesCoherently) {
    const TempFolder folder;
    cv::Mat soft;
    cv::GaussianBlur(collage(642, 470), soft, {}, 6);  // neither side as the entries want it
    const Picture clean = pictureFromBgr(soft);
    savePicture(folder.path("clean.y4m"), clean);
    savePicture(folder.path("noisy.y4m"), noisy(clean, 8));
    const std::string files = folder.path("noisy.y4m") + " " + folder.path("out.y4m") + " ";
    const std::string truth = " --json --truth " + folder.path("clean.y4m");

    const CliResult both =
        runCli("denoise " + files + "--iso-row 5 --before-after " + folder.path("sheet.png") + truth);
    ASSERT_EQ(both.exitCode, kExitOk) << both.err;
    const nlohmann::json json = nlohmann::json::parse(both.out);
    EXPECT_EQ(json["settings"]["lumaMed"], 0);
    EXPECT_EQ(json["settings"]["chromaNrLUT"].size(), 40u);
    for (const char* plane : {"y", "u", "v"}) {
        EXPECT_GT(json["truth"]["after"]["psnr"][plane], json["truth"]["before"]["psnr"][plane].get<double>() + 3)
            << plane;
        EXPECT_GT(json["truth"]["after"]["ssim"][plane], json["truth"]["before"]["ssim"][plane]) << plane;
    }
    EXPECT_EQ(readImage(folder.path("sheet.png")).cols, 4 * 480 + 3 * 8);

    writeImage(folder.path("mask.png"), cv::Mat(470, 642, CV_8U, cv::Scalar(255)));
    for (const char* level : {"high", "low"}) {
        std::string call = "denoise " + files;
        call.append("--iso-row 5 --trace --chroma-only ").append(level).append(truth);
        if (level == std::string("low")) call.append(" --mask ").append(folder.path("mask.png"));
        const CliResult chroma = runCli(call);
        ASSERT_EQ(chroma.exitCode, kExitOk) << chroma.err;
        const nlohmann::json one = nlohmann::json::parse(chroma.out);
        EXPECT_EQ(one["truth"]["after"]["psnr"]["y"], one["truth"]["before"]["psnr"]["y"]) << level;
        EXPECT_GT(one["truth"]["after"]["psnr"]["u"], one["truth"]["before"]["psnr"]["u"].get<double>() + 3) << level;
        for (const char* field : {"stPicOut.pData[1]", "stDNParams", "stDNParams.pSpatialChromaNrLUT"}) {
            EXPECT_NE(chroma.err.find(std::string("host syncs to CPU ") + field + " "), std::string::npos) << field;
        }
    }
}

// The entry's bands want 16 rows, and find their part of the mask by the stride.
TEST(DenoiseCommand, HandsOverBlocksOf16RowsAtThePitchOfTheMask) {
    const TempFolder folder;
    for (const auto& [height, handed] : {std::pair{256, 256}, {264, 272}, {272, 272}}) {
        savePicture(folder.path("in.y4m"), Picture(130, height));
        runCli("denoise in.y4m out.y4m chromaS=-60 --chroma-only low --record call.eisc", folder.path(""));
        const auto call = CallReader(folder.path("call.eisc")).next();
        ASSERT_TRUE(call);
        ST_CHROMA_CALL_BLOCK block;
        ASSERT_EQ(call->block.size(), sizeof block);
        std::memcpy(&block, call->block.data(), sizeof block);
        EXPECT_EQ(block.width, 132);
        EXPECT_EQ(block.height, handed);
        EXPECT_EQ(block.stride, 256);
    }
}

TEST(DenoiseCommand, TakesKeysOverARowAndOverNothing) {
    const TempFolder folder;
    const Picture clean = pictureFromBgr(collage(256, 256));
    savePicture(folder.path("in.y4m"), clean);
    const std::string files = folder.path("in.y4m") + " " + folder.path("out.y4m") + " ";
    const CliResult off =
        runCli("denoise " + files + "--iso-row 8 LUMANRENABLE=0 chromaNrEnable=0 --truth " + folder.path("in.y4m"));
    ASSERT_EQ(off.exitCode, kExitOk) << off.err;
    EXPECT_NE(off.out.find("V  PSNR identical dB"), std::string::npos) << off.out;
    const Picture same = loadPicture(folder.path("out.y4m"));
    for (int plane = 0; plane < 3; ++plane) EXPECT_EQ(same.planes[plane], clean.planes[plane]) << plane;

    const CliResult keys = runCli("denoise " + files + "--json lumaLF=-80 chromaNrLUT=7,8");
    ASSERT_EQ(keys.exitCode, kExitOk) << keys.err;
    const nlohmann::json settings = nlohmann::json::parse(keys.out)["settings"];
    EXPECT_EQ(settings["lumaLF"], -80);
    EXPECT_EQ(settings["lumaHF1"], -128);
    EXPECT_EQ(settings["chromaNrLUT"][1], 8);
    EXPECT_EQ(settings["chromaNrLUT"][2], 0);
}

TEST(DenoiseCommand, WritesAPageThatHoldsTogetherAndReplacesNoOneElses) {
    const TempFolder folder;
    const Picture clean = pictureFromBgr(collage(1200, 904));
    savePicture(folder.path("clean.y4m"), clean);
    savePicture(folder.path("<noisy>.y4m"), noisy(clean, 8));
    const std::string page = folder.path("page");
    const std::string call = "denoise '" + folder.path("<noisy>.y4m") + "' " + folder.path("out.y4m") +
                             " --iso-row 5 detail=-70 --json --report " + page;
    std::filesystem::create_directory(page);
    std::ofstream(page + "/index.html") << "<p>mine";
    EXPECT_EQ(runCli(call).exitCode, kExitUnwritable);
    EXPECT_FALSE(std::filesystem::exists(page + "/pictures"));
    std::filesystem::remove(page + "/index.html");

    ASSERT_EQ(runCli(call).exitCode, kExitOk);  // without a truth, to be replaced
    const CliResult run = runCli(call + " --truth " + folder.path("clean.y4m"));
    ASSERT_EQ(run.exitCode, kExitOk) << run.err;
    const nlohmann::json figures = nlohmann::json::parse(run.out)["report"];
    EXPECT_EQ(figures["file"], page + "/index.html");
    EXPECT_NEAR(figures["versions"]["reference"]["noise"][7]["sigma"], 8, 0.5);
    EXPECT_LT(figures["versions"]["denoised"]["noise"][7]["sigma"], 6);
    EXPECT_NEAR(figures["versions"]["reference"]["sharpness"], 1, 0.02);
    EXPECT_LT(figures["versions"]["denoised"]["sharpness"], 0.99);

    std::ifstream file(page + "/index.html");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(text.find("<noisy>"), std::string::npos);
    for (const char* wanted : {"&lt;noisy&gt;.y4m", "multiframe.xml, line 54", "command line", "+3."}) {
        EXPECT_NE(text.find(wanted), std::string::npos) << wanted;
    }
    std::uintmax_t bytes = text.size();
    const std::regex link("pictures/[^\"]*");
    for (std::sregex_iterator found(text.begin(), text.end(), link), none; found != none; ++found) {
        EXPECT_FALSE(readImage(page + "/" + found->str()).empty()) << found->str();
    }
    for (const auto& entry : std::filesystem::directory_iterator(page + "/pictures")) {
        EXPECT_NE(text.find(entry.path().filename().string()), std::string::npos) << entry.path();
        bytes += entry.file_size();
    }
    EXPECT_LT(bytes, 8'000'000u);
}

TEST(SearchCommand, PrintsARowThatTheLibraryReads) {
    const TempFolder folder;
    cv::Mat soft;
    cv::GaussianBlur(collage(128, 128), soft, {}, 4);
    const Picture clean = pictureFromBgr(soft);
    savePicture(folder.path("clean.y4m"), clean);
    savePicture(folder.path("noisy.y4m"), noisy(clean, 8));
    const CliResult found = runCli("search " + folder.path("noisy.y4m") + " " + folder.path("clean.y4m") + " --row 3");
    ASSERT_EQ(found.exitCode, kExitOk) << found.err;
    EXPECT_NE(found.err.find("luma +"), std::string::npos) << found.err;
    const std::string file = folder.write("multiframe.xml", "<?xml version='1.0'?>\n<Config><NoiseReduction>\n" +
                                                                found.out + "</NoiseReduction></Config>");
    const CliResult shown = runCli("tuning show " + file);
    EXPECT_EQ(shown.exitCode, kExitOk) << shown.err << found.out;
    EXPECT_EQ(shown.out.find("NoiseReduction/ISO3/chromaNrLUT = 0 0 0"), std::string::npos) << shown.out;

    // A plane without noise, against which no gain is finite, is left out.
    Picture lumaOnly = clean;
    lumaOnly.planes[0] = noisy(clean, 8).planes[0];
    savePicture(folder.path("luma.y4m"), lumaOnly);
    const CliResult luma = runCli("search " + folder.path("luma.y4m") + " " + folder.path("clean.y4m"));
    EXPECT_NE(luma.err.find("no noise in U, V"), std::string::npos) << luma.err;
    EXPECT_NE(luma.err.find("dB, chroma not searched"), std::string::npos) << luma.err;
}

TEST(SearchCommand, ShowsItsProgressOnATerminalAndPrintsTheBestRowWhenInterrupted) {
    const TempFolder folder;
    const Picture clean = pictureFromBgr(collage(2048, 1536));
    savePicture(folder.path("clean.y4m"), clean);
    savePicture(folder.path("noisy.y4m"), noisy(clean, 8));
    const std::string file = folder.path("screen");  // has the command in it, too
    std::string pairs;                               // many, so that no machine is done before its progress shows
    for (int i = 0; i < 8; ++i) pairs += folder.path("noisy.y4m ") + folder.path("clean.y4m ");
    const std::string command = std::string("script -qfc \"'") + EIS_HOST_PROGRAM + "' search " + pairs +
                                "& for i in \\$(seq 400); do grep -q 'of [1-9][0-9] done' " + file +
                                " && break; sleep 0.1; done; kill -INT \\$!; wait\" " + file + " >/dev/null";
    std::ignore = std::system(command.c_str());
    const std::string screen = folder.read("screen");
    EXPECT_NE(screen.find(".] "), std::string::npos) << screen;  // the bar
    EXPECT_NE(screen.find("interrupted; the best row so far: luma "), std::string::npos) << screen;
    EXPECT_NE(screen.find("</ISO1>"), std::string::npos) << screen;
}

}  // namespace
}  // namespace eishost
