#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include "host/picture/picture.h"
#include "host/program/exit_codes.h"
#include "tests/hostcli/cli.h"
#include "tests/hosttools/scratch_folder.h"

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
    const ScratchFolder folder;
    const Picture picture = testPicture(300, 200);
    savePicture(folder.file("in.yuv"), picture);
    const CliResult result = runCli("scale --raw-size 300x200 --crop 34,58,160,90 --size 160x90 " +
                                    folder.file("in.yuv") + " " + folder.file("out.y4m"));
    ASSERT_EQ(result.exitCode, kExitOk) << result.err;
    const Picture cropped = loadPicture(folder.file("out.y4m"));
    for (int plane = 0; plane < 3; ++plane) {
        const int part = plane == 0 ? 1 : 2;
        const cv::Rect area(34 / part, 58 / part, 160 / part, 90 / part);
        EXPECT_EQ(cv::norm(cropped.mat(plane), picture.mat(plane)(area), cv::NORM_INF), 0) << plane;
    }
}

TEST(ScaleCommand, HalvesEveryGoodPictureOfAPipeAndKeepsWhatTheClipSaysOfItself) {
    const ScratchFolder folder;
    const std::vector<Picture> pictures(3, testPicture(64, 64));
    savePictures(folder.file("in.y4m"), pictures);
    std::string clip = folder.read("in.y4m");
    const std::string fields = "F24:1 It A10:11 C420mpeg2 XNOTE=a\nFRAME Itpp\n";
    clip.replace(0, clip.find("FRAME\n") + 6, "YUV4MPEG2 W64 H64 " + fields);
    folder.write("in.y4m", clip.substr(0, clip.size() - 1));
    const CliResult result = runCli("scale - - --size 32x32 <" + folder.file("in.y4m"));
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

}  // namespace
}  // namespace eishost
