// The synth command from its arguments to the files.
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>

#include "host/commands.h"
#include "host/exit_codes.h"
#include "host/picture.h"
#include "host/synth_truth.h"
#include "tests/hosttools/scratch_folder.h"

namespace eishost {

namespace {

void runSynth(const std::vector<std::string>& arguments) {
    CLI::App app;
    addSynthCommand(app);
    std::vector<std::string> reversed{arguments.rbegin(), arguments.rend()};
    reversed.emplace_back("synth");
    testing::internal::CaptureStdout();
    try {
        app.parse(reversed);
    } catch (...) {
        testing::internal::GetCapturedStdout();
        throw;
    }
    testing::internal::GetCapturedStdout();
}

std::string writePhoto(const ScratchFolder& folder, const std::string& name) {
    Picture photo(320, 240);
    cv::RNG random(2);
    for (auto& plane : photo.planes)
        for (auto& sample : plane) sample = static_cast<std::uint8_t>(random.uniform(90, 160));
    savePicture(folder.file(name), photo);
    return folder.file(name);
}

}  // namespace

TEST(SynthCommand, WritesTheBurstThatItsTruthDescribes) {
    const ScratchFolder folder;
    const std::string out = folder.file("deep/burst");
    runSynth({writePhoto(folder, "photo.png"), "--out", out, "--frames", "3", "--shift", "-6,4", "--seed", "9"});
    const std::optional<BurstTruth> truth = loadTruth(out);
    ASSERT_TRUE(truth);
    EXPECT_EQ(truth->photo, "photo.png");
    EXPECT_EQ(truth->seed, 9U);
    ASSERT_EQ(truth->frames.size(), 3U);
    const Picture reference = loadPicture(out + "/" + truth->frames[0].frame);
    EXPECT_EQ(reference.width, truth->width);
    EXPECT_EQ(reference.height, truth->height);
    const Picture frame = loadPicture(out + "/" + truth->frames[2].frame);
    EXPECT_EQ(frame.planes[0], loadPicture(out + "/" + truth->frames[2].clean).planes[0]);
    EXPECT_EQ(truth->frames[2].homography, cv::Matx33d(1, 0, -6, 0, 1, 4, 0, 0, 1));
    for (int plane = 0; plane < 3; ++plane) {
        const int step = plane == 0 ? 1 : 2;
        const cv::Rect part(cv::Point(8, 8) / step, cv::Size(truth->width - 16, truth->height - 16) / step);
        const cv::Mat shifted = frame.mat(plane)(part + cv::Point(-6, 4) / step);
        EXPECT_EQ(cv::norm(reference.mat(plane)(part), shifted, cv::NORM_INF), 0) << "plane " << plane;
    }
}

TEST(SynthCommand, TakesEveryKindOfPhotograph) {
    const ScratchFolder folder;
    for (const char* const name : {"a.png", "a.jpg", "a.y4m", "a.yuv"}) {
        const std::string out = folder.file(std::string("out_") + name);
        runSynth({writePhoto(folder, name), "--raw-size", "320x240", "--out", out, "--frames", "2", "--noise", "strong",
                  "--mover", "--size", "128x96"});
        const std::optional<BurstTruth> truth = loadTruth(out);
        ASSERT_TRUE(truth) << name;
        EXPECT_GT(truth->frames[1].noiseSigma[0], 8) << name;
        EXPECT_TRUE(truth->frames[1].mover) << name;
    }
}

TEST(SynthCommand, RefusesWhatItCannotDo) {
    const ScratchFolder folder;
    const std::string photo = writePhoto(folder, "photo.png");
    const std::string out = folder.file("out");
    const struct {
        std::vector<std::string> arguments;
        ExitCode code;
    } cases[] = {
        {{photo, "--out", out, "--noise", "loud"}, kExitUsage},
        {{photo, "--out", out, "--shift", "3,"}, kExitUsage},
        {{photo, "--out", out, "--shift", "nan"}, kExitUsage},
        {{photo, "--out", out, "--shift", "-1"}, kExitUsage},
        {{photo, "--out", out, "--size", "big"}, kExitUsage},
        {{folder.file("none.png"), "--out", out}, kExitUnreadable},
        {{photo, "--out", out, "--size", "320x240"}, kExitUnsuitable},
        {{photo, "--out", out, "--shift", "310,0"}, kExitUnsuitable},
        {{photo, "--out", photo + "/below"}, kExitUnwritable},
    };
    for (const auto& [arguments, code] : cases) {
        try {
            runSynth(arguments);
            ADD_FAILURE() << "done: " << testing::PrintToString(arguments);
        } catch (const HostError& error) {
            EXPECT_EQ(error.code, code) << error.what();
        }
    }
    EXPECT_THROW(runSynth({photo, "--out", out, "--frames", "0"}), CLI::ParseError);
    EXPECT_THROW(runSynth({photo, "--out", out, "--seed", "-1"}), CLI::ParseError);
}

}  // namespace eishost
