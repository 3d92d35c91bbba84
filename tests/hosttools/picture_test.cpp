// Picture files: what goes out comes back, and what is wrong with an input is told with its exit code.
#include "host/picture.h"

#include <gtest/gtest.h>

#include <opencv2/imgcodecs.hpp>

#include "host/exit_codes.h"
#include "tests/hosttools/scratch_folder.h"

namespace eishost {

namespace {

// Smooth, as chroma does not survive a way through RGB otherwise.
Picture gradient(int width, int height, int phase = 0) {
    Picture picture(width, height);
    for (int plane = 0; plane < 3; ++plane) {
        cv::Mat samples = picture.mat(plane);
        for (int row = 0; row < samples.rows; ++row)
            for (int column = 0; column < samples.cols; ++column)
                samples.at<std::uint8_t>(row, column) = static_cast<std::uint8_t>(
                    plane == 0 ? 60 + (column + row + phase) % 120 : 100 + 40 * column / samples.cols + 5 * plane);
    }
    return picture;
}

double largestDifference(const Picture& a, const Picture& b, int plane) {
    return cv::norm(a.mat(plane), b.mat(plane), cv::NORM_INF);
}

void expectSame(const Picture& a, const Picture& b) {
    ASSERT_EQ(a.width, b.width);
    ASSERT_EQ(a.height, b.height);
    EXPECT_EQ(a.range, b.range);
    for (int plane = 0; plane < 3; ++plane) EXPECT_EQ(a.planes[plane], b.planes[plane]) << "plane " << plane;
}

ExitCode codeOf(const std::string& path, std::optional<PictureSize> rawSize = std::nullopt) {
    try {
        loadPictures(path, rawSize);
    } catch (const HostError& error) {
        EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
        EXPECT_NE(std::string(error.what()).find(path), std::string::npos) << error.what();
        return error.code;
    }
    return kExitOk;
}

}  // namespace

TEST(PictureFile, PlanarFormatsKeepEverySample) {
    const ScratchFolder folder;
    std::vector<Picture> burst{gradient(34, 18, 0), gradient(34, 18, 7), gradient(34, 18, 50)};
    for (Picture& picture : burst) picture.range = ColorRange::kLimited;
    savePictures(folder.file("burst.y4m"), burst);
    savePictures(folder.file("burst.yuv"), burst);
    const std::vector<Picture> y4m = loadPictures(folder.file("burst.y4m"));
    std::vector<Picture> raw = loadPictures(folder.file("burst.yuv"), PictureSize{34, 18});
    ASSERT_EQ(y4m.size(), burst.size());
    ASSERT_EQ(raw.size(), burst.size());
    for (std::size_t i = 0; i < burst.size(); ++i) {
        expectSame(y4m[i], burst[i]);
        raw[i].range = ColorRange::kLimited;  // a raw file cannot tell
        expectSame(raw[i], burst[i]);
    }
}

TEST(PictureFile, ImageFormatsStayWithinRounding) {
    const ScratchFolder folder;
    for (const ColorRange range : {ColorRange::kFull, ColorRange::kLimited}) {
        Picture picture = gradient(64, 48);
        picture.range = range;
        savePicture(folder.file("a.png"), picture);
        savePicture(folder.file("a.jpg"), picture);
        savePicture(folder.file("b.png"), loadPicture(folder.file("a.png")));
        const Picture png = loadPicture(folder.file("a.png"));
        const Picture jpeg = loadPicture(folder.file("a.jpg"));
        EXPECT_EQ(png.range, ColorRange::kFull);
        for (int plane = 0; plane < 3; ++plane) {
            EXPECT_LE(largestDifference(png, loadPicture(folder.file("b.png")), plane), 1) << "plane " << plane;
            if (range == ColorRange::kLimited) continue;
            EXPECT_LE(largestDifference(png, picture, plane), 2) << "plane " << plane;
            EXPECT_LE(largestDifference(jpeg, picture, plane), 8) << "plane " << plane;
        }
    }
}

TEST(PictureFile, LimitedRangeIsStretchedForRgb) {
    Picture picture(4, 4);
    picture.range = ColorRange::kLimited;
    picture.mat(1) = 128;
    picture.mat(2) = 128;
    for (const auto& [sample, shown] : {std::pair{16, 0}, {235, 255}, {0, 0}, {255, 255}, {126, 128}}) {
        picture.mat(0) = sample;
        EXPECT_EQ(bgrFromPicture(picture).at<cv::Vec3b>(1, 1), cv::Vec3b::all(static_cast<std::uint8_t>(shown)));
    }
}

TEST(PictureFile, Y4mHeaderFieldsAreUnderstood) {
    const ScratchFolder folder;
    const std::string planes(4 * 2 * 3 / 2, 'x');
    const struct {
        const char* fields;
        ExitCode code;
        ColorRange range;
    } cases[] = {
        {"W4 H2", kExitOk, ColorRange::kFull},
        {"H2 W4 F25:1 C420jpeg", kExitOk, ColorRange::kFull},
        {"W4 H2 C420mpeg2", kExitOk, ColorRange::kLimited},
        {"W4 H2 C420mpeg2 XCOLORRANGE=FULL", kExitOk, ColorRange::kFull},
        {"W4 H2 C420jpeg XCOLORRANGE=LIMITED", kExitOk, ColorRange::kLimited},
        {"W4 H2 C444", kExitUnsuitable, {}},
        {"W4 H2 C420p10", kExitUnsuitable, {}},
        {"W5 H2", kExitUnsuitable, {}},
        {"W4 H3", kExitUnsuitable, {}},
        {"W32768 H32768", kExitUnsuitable, {}},
        {"W99999999999 H2", kExitUnreadable, {}},
        {"W-4 H2", kExitUnreadable, {}},
        {"W4", kExitUnreadable, {}},
    };
    for (const auto& [fields, code, range] : cases) {
        const std::string path = folder.write("a.y4m", std::string("YUV4MPEG2 ") + fields + "\nFRAME Ixyz\n" + planes);
        EXPECT_EQ(codeOf(path), code) << fields;
        if (code == kExitOk) {
            EXPECT_EQ(loadPicture(path).range, range) << fields;
        }
    }
}

TEST(PictureFile, EveryTruncationIsReported) {
    const ScratchFolder folder;
    const Picture picture = gradient(32, 16);
    for (const char* const name : {"a.png", "a.jpg", "a.y4m"}) {
        savePicture(folder.file(name), picture);
        const std::string whole = folder.read(name);
        const std::size_t step = std::max<std::size_t>(1, whole.size() / 97);
        for (std::size_t length = 0; length + 1 < whole.size(); length += step)
            EXPECT_EQ(codeOf(folder.write("cut", whole.substr(0, length))), kExitUnreadable)
                << name << " cut to " << length << " of " << whole.size();
    }
    savePicture(folder.file("a.yuv"), picture);
    const std::string raw = folder.read("a.yuv");
    for (const std::size_t length : {std::size_t{0}, std::size_t{1}, raw.size() - 1})
        EXPECT_EQ(codeOf(folder.write("cut", raw.substr(0, length)), PictureSize{32, 16}), kExitUnreadable);
    EXPECT_EQ(codeOf(folder.file("a.yuv"), PictureSize{30, 16}), kExitUnreadable);
    EXPECT_EQ(codeOf(folder.file("a.yuv")), kExitUnreadable);
    EXPECT_EQ(codeOf(folder.file("nothing.png")), kExitUnreadable);
    EXPECT_EQ(codeOf(folder.file("")), kExitUnreadable);
}

TEST(PictureFile, OddImagesAndWrongCountsAreRefused) {
    const ScratchFolder folder;
    cv::imwrite(folder.file("odd.png"), cv::Mat(5, 6, CV_8UC3, cv::Scalar(1, 2, 3)));
    EXPECT_EQ(codeOf(folder.file("odd.png")), kExitUnsuitable);
    EXPECT_EQ(loadBgr(folder.file("odd.png")).rows, 5);

    const std::vector<Picture> two{gradient(4, 4), gradient(4, 4)};
    savePictures(folder.file("two.y4m"), two);
    EXPECT_THROW(loadPicture(folder.file("two.y4m")), HostError);
    EXPECT_THROW(loadBgr(folder.file("two.y4m")), HostError);
    EXPECT_THROW(savePictures(folder.file("two.png"), two), HostError);
    EXPECT_THROW(savePicture(folder.file("one.bmp"), two[0]), HostError);
    EXPECT_THROW(savePicture(folder.file("no/such/folder.png"), two[0]), HostError);
}

TEST(PictureFile, SizesParse) {
    EXPECT_EQ(parseSize("4000x3000").width, 4000);
    EXPECT_EQ(parseSize("4000X3000").height, 3000);
    for (const char* const text :
         {"", "x", "4000", "4000x", "x3000", "4000x3000x", "-4x4", "0x4", "4 x4", "99999999999x2"})
        EXPECT_THROW(parseSize(text), HostError) << text;
}

}  // namespace eishost
