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

TEST(PictureFile, ComesBackWithinItsFormatsRounding) {
    const ScratchFolder folder;
    for (const ColorRange range : {ColorRange::kFull, ColorRange::kLimited}) {
        Picture picture = gradient(64, 48);
        picture.range = range;
        for (const auto& [name, error] : {std::pair{"a.y4m", 0}, {"a.yuv", 0}, {"a.png", 2}, {"a.jpg", 8}}) {
            const bool isImage = error > 0;
            if (isImage && range == ColorRange::kLimited) continue;
            savePicture(folder.file(name), picture);
            const Picture back = loadPicture(folder.file(name), PictureSize{64, 48});
            for (int plane = 0; plane < 3; ++plane) {
                EXPECT_LE(cv::norm(back.mat(plane), picture.mat(plane), cv::NORM_INF), error) << name << plane;
            }
        }
    }
    // Limited range is stretched for RGB.
    Picture limited(4, 4);
    limited.range = ColorRange::kLimited;
    limited.mat(1) = 128;
    limited.mat(2) = 128;
    for (const auto& [sample, shown] : {std::pair{16, 0}, {235, 255}, {0, 0}, {126, 128}}) {
        limited.mat(0) = sample;
        EXPECT_EQ(bgrFromPicture(limited).at<cv::Vec3b>(1, 1), cv::Vec3b::all(static_cast<std::uint8_t>(shown)));
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
        {"H2 W4 F25:1 C420jpeg", kExitOk, ColorRange::kFull},
        {"W4 H2 C420mpeg2", kExitOk, ColorRange::kLimited},
        {"W4 H2 C420jpeg XCOLORRANGE=LIMITED", kExitOk, ColorRange::kLimited},
        {"W4 H2 C444", kExitUnsuitable, {}},
        {"W5 H2", kExitUnsuitable, {}},
        {"W32768 H32768", kExitUnsuitable, {}},
        {"W99999999999 H2", kExitUnreadable, {}},
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

}  // namespace eishost
