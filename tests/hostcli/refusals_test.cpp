// Command lines and inputs that a command refuses: an exit code that tells why, and one line for the user. What reading
// drops is no reason to refuse a picture, and is noted. What is printed and did not arrive is an error, though the work
// was done.
#include <gtest/gtest.h>

#include <filesystem>

#include "host/picture/picture.h"
#include "tests/harness/tools/cli.h"
#include "tests/harness/tools/test_pictures.h"

namespace eishost {
namespace {

TEST(Refusals, AreToldInOneLine) {
    const TempFolder folder;
    for (const auto& [name, width, height] : {std::tuple{"good.png", 640, 480},
                                              {"small.png", 320, 240},
                                              {"tiny.png", 64, 48},
                                              {"odd.png", 65, 48},
                                              {"plain.jpg", 64, 48}}) {
        writeImage(folder.path(name), collage(width, height));
    }
    for (const auto& [name, width, height] : {std::tuple{"in.y4m", 256, 192},
                                              {"blank.png", 640, 480},
                                              {"other.png", 192, 256},
                                              {"low.y4m", 126, 128},
                                              {"slim.y4m", 256, 16}}) {
        savePicture(folder.path(name), Picture(width, height));
    }
    folder.write("text.jpg", "no picture");
    folder.write("short.xml", "<Config/>");
    std::filesystem::create_directory(folder.path("older"));
    folder.write("older/frame_07.png", "");
    folder.write("wide.y4m", "YUV4MPEG2 W64 H48 C422\nFRAME\n");
    folder.write("deep.y4m", "YUV4MPEG2 W64 H48 C420p10\nFRAME\n");
    writeImage(folder.path("deep.png"), cv::Mat(48, 64, CV_16UC4, cv::Scalar::all(30000)));
    const std::string jpeg = folder.read("plain.jpg");
    const std::string profile("\xff\xe2\x00\x10ICC_PROFILE\0\1\1", 18);
    folder.write("profile.jpg", jpeg.substr(0, 2) + profile + jpeg.substr(2));
    folder.write("fields.y4m", "YUV4MPEG2 W64 H48 F25:1 It\nFRAME\n" + std::string(64 * 48 * 3 / 2, 'x'));
    const std::string session = eis::test::readFile(EIS_TEST_FOLDER "/refusals.txt");
    EXPECT_EQ(replay(session, folder), session);
}

TEST(Help, IsTheSameOnBothWaysToIt) {
    EXPECT_EQ(runCli("--version").out.find("eis-host "), 0u);
    EXPECT_NE(runCli("help").out.find("Exit codes: 0 done"), std::string::npos);
    EXPECT_EQ(runCli("help tables fast").out, runCli("tables fast --help").out);
}

}  // namespace
}  // namespace eishost
