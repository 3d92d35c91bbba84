// eis-host stabilize, end to end, on clips whose camera path is known.
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <opencv2/imgproc.hpp>

#include "host/picture/metrics.h"
#include "host/picture/picture.h"
#include "host/program/exit_codes.h"
#include "tests/harness/tools/cli.h"
#include "tests/harness/tools/test_pictures.h"

namespace eishost {
namespace {

// From the scene to each frame.
using Path = std::vector<cv::Matx33d>;

// A pan and a shaking hand.
Path shakyPath(int frames, double pan) {
    Path path;
    for (int i = 0; i < frames; ++i) {
        const double angle = 0.004 * std::sin(i * 1.1) + 0.003 * std::sin(i * 0.31);
        const double c = std::cos(angle);
        const double s = std::sin(angle);
        const double x = 3 * std::sin(i * 1.7) + 2 * std::sin(i * 0.7 + 1) - pan * i - 60;
        const double y = 3 * std::sin(i * 1.3 + 2) + 2 * std::sin(i * 0.5) - 40;
        path.push_back({c, -s, x, s, c, y, 0, 0, 1});
    }
    return path;
}

cv::Mat scene() {
    return collage(640, 480);
}

std::vector<Picture> film(const Path& path, const cv::Mat& of, cv::Size size) {
    std::vector<Picture> pictures;
    for (const cv::Matx33d& homography : path) {
        cv::Mat frame;
        cv::warpPerspective(of, frame, homography, size, cv::INTER_CUBIC, cv::BORDER_REFLECT);
        pictures.push_back(pictureFromBgr(frame));
    }
    return pictures;
}

cv::Matx33d matrixOf(const nlohmann::json& numbers) {
    cv::Matx33d matrix;
    for (int i = 0; i < 9; ++i) matrix.val[i] = numbers[i];
    return matrix;
}

// Root mean square of the second difference of the content's position in the result, frames `first` to `end`.
double acceleration(const Path& path, const nlohmann::json& frames, cv::Size size, std::size_t first, std::size_t end) {
    double sum = 0;
    int count = 0;
    for (std::size_t i = first + 1; i + 1 < end; ++i) {
        for (const cv::Point2d& at :
             {cv::Point2d(0, 0), {size.width * 0.5, size.height * 0.5}, {size.width * 1.0, 0}}) {
            const auto seen = [&](std::size_t frame) {
                return matrixOf(frames[frame]["correction"]).inv() * path[frame];
            };
            const cv::Point2d content = project(seen(i).inv(), at);
            const cv::Point2d bend = project(seen(i - 1), content) + project(seen(i + 1), content) - at * 2;
            sum += bend.dot(bend);
            ++count;
        }
    }
    return std::sqrt(sum / count);
}

struct Steadied {
    nlohmann::json report;
    std::vector<Picture> pictures;
};

Steadied stabilize(const std::vector<Picture>& clip, const std::string& options) {
    const TempFolder folder;
    savePictures(folder.path("in.y4m"), clip);
    const CliResult result = runCli("stabilize in.y4m out.y4m --json " + options, folder.path(""));
    EXPECT_EQ(result.exitCode, kExitOk) << result.err;
    return {nlohmann::json::parse(result.out), loadPictures(folder.path("out.y4m"))};
}

TEST(StabilizeCommand, SteadiesByEveryPathAndKeepsTheSize) {
    const struct {
        const char* options;
        cv::Size size;
        double pan;
        double steadier;  // times
        double border;    // mean share at most
    } cases[] = {{"", {320, 240}, 0.8, 12, 0},
                 {"--optimal", {320, 240}, 0.8, 12, 0},
                 {"--lookahead 12 --zoom 1.2", {326, 180}, 0.8, 8, 0},
                 {"--zoom 1 --margin mirror --smooth 12", {320, 240}, 0.8, 12, 0.1},
                 {"--zoom least --smooth 4", {320, 238}, 0.8, 5, 0},
                 {"--tripod", {320, 240}, 0, 12, 0}};
    for (const auto& [options, size, pan, steadier, border] : cases) {
        const Path path = shakyPath(70, pan);
        const std::vector<Picture> clip = film(path, scene(), size);
        const Steadied run = stabilize(clip, options);
        ASSERT_EQ(run.pictures.size(), clip.size()) << options;
        EXPECT_EQ(cv::Size(run.pictures[0].width, run.pictures[0].height), size) << options;
        const nlohmann::json& frames = run.report["frames"];
        nlohmann::json shaky = frames;
        for (nlohmann::json& frame : shaky) frame["correction"] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
        const std::size_t count = clip.size();
        EXPECT_LT(acceleration(path, frames, size, 0, count), acceleration(path, shaky, size, 0, count) / steadier)
            << options;
        EXPECT_EQ(run.report["summary"]["refused"], 0) << options;
        EXPECT_LE(run.report["summary"]["border"]["mean"], border) << options;
        for (std::size_t i = 1; i < count; ++i) {
            EXPECT_LT(cornerError(matrixOf(frames[i]["motion"]), path[i] * path[i - 1].inv(), size).largest, 0.6)
                << options << i;
            // The picture is what the correction says.
            const Picture expected = alignByHomography(clip[i], matrixOf(frames[i]["correction"]),
                                                       {0, 0, size.width & ~7, size.height & ~7});
            const cv::Rect inner(size.width / 4, size.height / 4, size.width / 2, size.height / 2);
            EXPECT_GT(planePsnr(run.pictures[i].mat(0), expected.mat(0), inner), 30) << options << i;
        }
    }
}

TEST(StabilizeCommand, BeginsAnewAtACutAndMovesOnThroughDarkFrames) {
    const cv::Size size(320, 240);
    const Path path = shakyPath(60, 0.8);
    std::vector<Picture> clip = film(path, scene(), size);
    cv::Mat other;
    cv::flip(scene(), other, -1);
    const std::vector<Picture> second = film(path, other, size);
    std::copy(second.begin() + 35, second.end(), clip.begin() + 35);
    for (const int dark : {15, 16, 17}) clip[dark] = Picture(size.width, size.height);
    const Steadied run = stabilize(clip, "");
    const nlohmann::json& frames = run.report["frames"];
    for (std::size_t i = 0; i < clip.size(); ++i) {
        EXPECT_EQ(frames[i]["cut"], i == 35) << i;
        EXPECT_EQ(frames[i]["reliable"], i < 15 || i > 17) << i;
    }
    EXPECT_LT(acceleration(path, frames, size, 0, 15), 0.4);
    EXPECT_LT(acceleration(path, frames, size, 18, 35), 0.4);
    EXPECT_LT(acceleration(path, frames, size, 35, 60), 0.4);
    // What moved in the dark is made up for when the scene comes back.
    const cv::Matx33d seen17 = matrixOf(frames[14]["correction"]).inv() * path[14];
    const cv::Matx33d seen18 = matrixOf(frames[18]["correction"]).inv() * path[18];
    EXPECT_LT(cornerError(seen18 * seen17.inv(), cv::Matx33d(1, 0, -0.8 * 4, 0, 1, 0, 0, 0, 1), size).largest, 6);
}

TEST(StabilizeCommand, TakesPipesAndFoldersAndEndsWithWhatCameWhole) {
    const TempFolder folder;
    const std::vector<Picture> clip = film(shakyPath(4, 0), scene(), {160, 128});
    savePictures(folder.path("in.y4m"), clip);
    std::string bytes = folder.read("in.y4m");
    const std::string fields = "F24000:1001 Ip A10:11 C420mpeg2 XCOLORRANGE=LIMITED";
    bytes.replace(0, bytes.find('\n'), "YUV4MPEG2 W160 H128 " + fields);
    folder.write("cut.y4m", bytes.substr(0, bytes.size() - 1));

    const CliResult piped = runCli("stabilize - - --lookahead 4 <cut.y4m", folder.path(""));
    EXPECT_EQ(piped.exitCode, kExitUnreadable);
    EXPECT_NE(piped.err.find("picture 4 is cut short; the output holds the 3 pictures before it"), std::string::npos)
        << piped.err;
    EXPECT_TRUE(piped.out.starts_with("YUV4MPEG2 W160 H128 " + fields + "\n")) << piped.out.substr(0, 80);
    EXPECT_EQ(loadPictures(folder.write("piped.y4m", piped.out)).size(), 3u);

    EXPECT_EQ(
        runCli("stabilize in.y4m frames && " EIS_HOST_PROGRAM " stabilize frames again.y4m", folder.path("")).exitCode,
        kExitOk);
    EXPECT_EQ(loadPictures(folder.path("again.y4m")).size(), clip.size());

    savePictures(folder.path("one.y4m"), {clip.data(), 1});
    EXPECT_EQ(runCli("stabilize one.y4m same.y4m", folder.path("")).exitCode, kExitOk);
    EXPECT_EQ(folder.read("same.y4m"), folder.read("one.y4m"));
}

}  // namespace
}  // namespace eishost
