// Picture files: what goes out comes back, and what is wrong with an input is told with its exit code.
#include "host/picture/picture.h"

#include <gtest/gtest.h>

#include "host/program/exit_codes.h"
#include "tests/harness/files.h"

namespace eishost {

using eis::test::TempFolder;

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

ExitCode codeOf(const std::string& path, const RawOptions& raw = {}) {
    try {
        loadPictures(path, raw);
    } catch (const HostError& error) {
        EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
        EXPECT_NE(std::string(error.what()).find(path), std::string::npos) << error.what();
        return error.code;
    }
    return kExitOk;
}

}  // namespace

TEST(PictureFile, ComesBackWithinItsFormatsRounding) {
    const TempFolder folder;
    for (const ColorRange range : {ColorRange::kFull, ColorRange::kLimited}) {
        Picture picture = gradient(64, 48);
        picture.range = range;
        for (const auto& [name, error] :
             {std::pair{"a.y4m", 0}, {"a.yuv", 0}, {"a.nv12", 0}, {"a.nv21", 0}, {"a.png", 2}, {"a.jpg", 8}}) {
            const bool isImage = error > 0;
            if (isImage && range == ColorRange::kLimited) continue;
            savePicture(folder.path(name), picture);
            const Picture back = loadPicture(folder.path(name), PictureSize{64, 48});
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
    const TempFolder folder;
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

// Luma "abcdefgh", U "uU", V "vV".
TEST(PictureFile, RawFormatsAreToldOrAskedFor) {
    using namespace std::string_literals;
    const TempFolder folder;
    const auto described = [](std::optional<RawFormat> format, std::optional<int> stride) {
        RawOptions raw{PictureSize{4, 2}};
        raw.format = format;
        raw.stride = stride;
        return raw;
    };
    RawOptions odd{PictureSize{5, 3}};
    odd.format = RawFormat::kNv12;
    std::string words;
    for (const char sample : "abcdefghuvUV"s) {
        words.push_back('\x80');  // rounded up
        words.push_back(static_cast<char>(sample - 1));
    }
    std::string wordsOf12Bits = words;
    wordsOf12Bits[0] = '\x90';
    const struct {
        const char* name;
        RawOptions raw;
        std::string bytes;
        ExitCode code = kExitOk;
    } cases[] = {
        {"a.yuv", described({}, {}), "abcdefghuUvV"},
        {"a.i420", described({}, 6), "abcd..efgh..uU.vV."},
        {"a.i420", described({}, 6), "abcd..efgh..uU.vV"},
        {"a.NV12", described({}, {}), "abcdefghuvUV"},
        {"a.nv21", described({}, 7), "abcd...efgh...vuVU..."},
        {"a.raw", described(RawFormat::kNv21, {}), "abcdefghvuVU"},
        {"a.raw", odd, "abcd.efgh......uvUV........"},
        {"a.p010", described({}, {}), words},
        {"a.p010", described({}, {}), wordsOf12Bits, kExitUnsuitable},
        {"a.raw", described({}, {}), "abcdefghuUvV", kExitUsage},
        {"a.nv21", described({}, 3), "abcdefghvuVU", kExitUsage},
        {"a.nv12", described({}, 6), "abcdefghuvUV", kExitUnreadable},
        {"a.nv12", {}, "abcdefghuvUV", kExitUnreadable},
    };
    for (const auto& [name, raw, bytes, code] : cases) {
        const std::string path = folder.write(name, bytes);
        ASSERT_EQ(codeOf(path, raw), code) << name << ' ' << bytes;
        if (code != kExitOk) continue;
        const Picture picture = loadPicture(path, raw);
        const std::string planes[] = {"abcdefgh", "uU", "vV"};
        for (int plane = 0; plane < 3; ++plane) {
            EXPECT_EQ(std::string(picture.planes[plane].begin(), picture.planes[plane].end()), planes[plane]) << bytes;
        }
    }
    RawOptions spaced;
    spaced.outputStride = 6;
    savePicture(folder.path("b.nv21"), loadPicture(folder.write("a.y4m", "YUV4MPEG2 W4 H2\nFRAME\nabcdefghuUvV")),
                spaced);
    EXPECT_EQ(folder.read("b.nv21"), "abcd\0\0efgh\0\0vuVU\0\0"s);
}

TEST(PictureFile, EveryTruncationIsReported) {
    const TempFolder folder;
    const Picture picture = gradient(32, 16);
    for (const char* const name : {"a.png", "a.jpg", "a.y4m"}) {
        savePicture(folder.path(name), picture);
        const std::string whole = folder.read(name);
        const std::size_t step = std::max<std::size_t>(1, whole.size() / 97);
        for (std::size_t length = 0; length + 1 < whole.size(); length += step)
            EXPECT_EQ(codeOf(folder.write("cut", whole.substr(0, length))), kExitUnreadable)
                << name << " cut to " << length << " of " << whole.size();
    }
    savePicture(folder.path("a.yuv"), picture);
    const std::string raw = folder.read("a.yuv");
    for (const std::size_t length : {std::size_t{0}, std::size_t{1}, raw.size() - 1})
        EXPECT_EQ(codeOf(folder.write("cut.yuv", raw.substr(0, length)), PictureSize{32, 16}), kExitUnreadable);
    EXPECT_EQ(codeOf(folder.path("a.yuv"), PictureSize{30, 16}), kExitUnreadable);
    EXPECT_EQ(codeOf(folder.path("a.yuv")), kExitUnreadable);
    EXPECT_EQ(codeOf(folder.path("nothing.png")), kExitUnreadable);
    EXPECT_EQ(codeOf(folder.path("")), kExitUnreadable);
}

}  // namespace eishost
