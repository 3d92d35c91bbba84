// Synthetic bursts: the truth agrees with the pixels, and the noise is what it says.
#include "host/synth/synth.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include "host/picture/metrics.h"
#include "host/program/exit_codes.h"
#include "tests/harness/files.h"

namespace eishost {

using eis::test::TempFolder;

namespace {

// Blobs of all sizes and colours, like a scene with light and shadow.
cv::Mat scene(int width, int height) {
    cv::Mat sum(height, width, CV_32FC3, cv::Scalar::all(0));
    cv::RNG random(11);
    for (const int cell : {4, 16, 64}) {
        cv::Mat coarse(height / cell + 2, width / cell + 2, CV_32FC3);
        random.fill(coarse, cv::RNG::UNIFORM, 0, 85);
        cv::Mat fine;
        cv::resize(coarse, fine, sum.size(), 0, 0, cv::INTER_CUBIC);
        sum += fine;
    }
    cv::Mat bgr;
    sum.convertTo(bgr, CV_8U);
    return bgr;
}

// From black to white, in grey.
cv::Mat ramp(int width, int height) {
    cv::Mat bgr(height, width, CV_8UC3);
    for (int column = 0; column < width; ++column) bgr.col(column) = cv::Scalar::all(255.0 * column / (width - 1));
    return bgr;
}

double lumaSigma(const NoisyFrame& frame, const cv::Rect& area) {
    return noiseSigma({frame.noisy(area), frame.clean(area)})[0];
}

bool same(const cv::Mat& a, const cv::Mat& b) {
    return a.size() == b.size() && cv::norm(a, b, cv::NORM_INF) == 0;
}

}  // namespace

TEST(Synth, WholePixelShiftsAreExactCopies) {
    SynthOptions options;
    options.rotation = options.perspective = 0;
    options.exactShift = cv::Point(6, -10);
    const BurstSynthesiser burst(scene(400, 300), options);
    const cv::Size size = burst.frameSize();
    EXPECT_EQ(size.height % 8, 0);
    // A position of the reference plus the shift is its position in the frame.
    const cv::Rect common = cv::Rect({0, 0}, size) & cv::Rect(-*options.exactShift, size);
    EXPECT_TRUE(same(burst.frame(0).noisy(common), burst.frame(2).noisy(common + *options.exactShift)));
    EXPECT_EQ(burst.homography(2), cv::Matx33d(1, 0, 6, 0, 1, -10, 0, 0, 1));
}

TEST(Synth, TrueHomographiesAlignTheFrames) {
    SynthOptions options;
    const BurstSynthesiser burst(scene(800, 600), options);
    const Picture reference = pictureFromBgr(burst.frame(0).noisy);
    const cv::Rect area(64, 64, (burst.frameSize().width - 128) & ~7, (burst.frameSize().height - 128) & ~7);
    for (int index = 1; index < options.frames; ++index) {
        const Picture frame = pictureFromBgr(burst.frame(index).noisy);
        const Picture aligned = alignByHomography(frame, burst.homography(index), area);
        const double after = planePsnr(aligned.mat(0), reference.mat(0), area);
        EXPECT_GT(after, 38) << index;
        EXPECT_GT(after, planePsnr(frame.mat(0), reference.mat(0), area) + 10) << index;
    }
}

TEST(Synth, FramesStayInsideThePhotograph) {
    // Everything but a border of one pixel is white: a frame that reached it would show.
    cv::Mat photo(300, 420, CV_8UC3, cv::Scalar::all(255));
    cv::rectangle(photo, {0, 0}, {419, 299}, cv::Scalar::all(0));
    SynthOptions options;
    options.frames = 20;
    options.shift = 60;
    options.rotation = 3;
    const BurstSynthesiser burst(photo, options);
    for (int index = 0; index < options.frames; ++index) {
        double darkest = 0;
        cv::minMaxLoc(burst.frame(index).noisy.reshape(1), &darkest);
        ASSERT_EQ(darkest, 255) << index;
    }
}

TEST(Synth, SeedsDecideEverything) {
    SynthOptions options;
    options.mover = true;
    options.noise = parseNoise("medium");
    const cv::Mat photo = scene(500, 400);
    const BurstSynthesiser first(photo, options);
    const BurstSynthesiser again(photo, options);
    ++options.seed;
    const BurstSynthesiser other(photo, options);
    EXPECT_TRUE(same(first.frame(3).noisy, again.frame(3).noisy));
    EXPECT_FALSE(same(first.frame(3).noisy, other.frame(3).noisy));
    EXPECT_EQ(first.homography(3), again.homography(3));
    EXPECT_NE(first.homography(3), other.homography(3));
}

TEST(Synth, AMoverOfAContrastDiffersByItWhereItsMasksSay) {
    SynthOptions options;
    options.frames = 3;
    options.exactShift = cv::Point(0, 0);
    options.rotation = options.perspective = 0;
    options.mover = true;
    options.moverSize = 20;
    options.moverContrast = 30;
    const BurstSynthesiser burst(scene(900, 700), options);
    const cv::Mat masks[] = {burst.moverMask(0), burst.moverMask(2)};
    EXPECT_EQ(cv::countNonZero(masks[0] & masks[1]), 0);
    cv::Mat change;
    cv::absdiff(burst.frame(0).noisy, burst.frame(2).noisy, change);
    cv::cvtColor(change, change, cv::COLOR_BGR2GRAY);
    for (const cv::Mat& mask : masks) {
        EXPECT_NEAR(cv::countNonZero(mask), CV_PI * 8 * 8, 20);
        EXPECT_NEAR(cv::mean(change, mask)[0], 30, 3);
    }
    EXPECT_LT(cv::mean(change, ~(masks[0] | masks[1]))[0], 0.05);
    for (const int index : {0, 2}) change(*burst.mover(index)) = 0;
    EXPECT_EQ(cv::countNonZero(change), 0) << "nothing moves outside its boxes";
}

TEST(SynthNoise, LevelsLieWhereTheyShould) {
    const cv::Mat photo = scene(640, 480);
    const struct {
        const char* name;
        double low;
        double high;
    } cases[] = {{"none", 0, 0}, {"light", 2.4, 3.6}, {"medium", 4.8, 7.2}, {"strong", 11, 17}, {"white:5", 4.8, 5.2}};
    for (const auto& [name, low, high] : cases) {
        const NoisyFrame frame = addNoise(photo, parseNoise(name), 1);
        const cv::Vec3d sigma = noiseSigma(frame);
        EXPECT_GE(sigma[0], low) << name;
        EXPECT_LE(sigma[0], high) << name;
    }
}

TEST(SynthNoise, SensorNoiseIsCorrelatedColouredAndStrongerInShadows) {
    const NoisyFrame frame = addNoise(ramp(1024, 256), parseNoise("medium"), 1);
    const double shadow = lumaSigma(frame, {128, 0, 128, 256});
    const double middle = lumaSigma(frame, {448, 0, 128, 256});
    const double light = lumaSigma(frame, {800, 0, 128, 256});
    EXPECT_GT(shadow, 1.3 * middle);
    EXPECT_GT(middle, 1.1 * light);

    cv::Mat noise;
    cv::subtract(pictureFromBgr(frame.noisy).mat(0), pictureFromBgr(frame.clean).mat(0), noise, cv::noArray(), CV_32F);
    const cv::Mat left = noise(cv::Rect(0, 0, 1023, 256));
    const cv::Mat right = noise(cv::Rect(1, 0, 1023, 256));
    EXPECT_GT(left.dot(right) / left.dot(left), 0.2) << "neighbours";

    // White balance gains make red and blue noisier than green.
    cv::Mat difference;
    cv::subtract(frame.noisy, frame.clean, difference, cv::noArray(), CV_16S);
    cv::Scalar mean;
    cv::Scalar deviation;
    cv::meanStdDev(difference, mean, deviation);
    EXPECT_GT(deviation[0], 1.2 * deviation[1]);
    EXPECT_GT(deviation[2], 1.2 * deviation[1]);
}

TEST(SynthTruth, ComesBackFromItsFile) {
    const TempFolder folder;
    EXPECT_FALSE(loadTruth(folder.path("")));
    BurstTruth truth;
    truth.seed = 0xfedcba9876543210;
    truth.frames.resize(2);
    truth.frames[0].frame = "frame_00.png";
    truth.frames[1] = {"frame_01.png", "clean_01.png",       {0.999, -0.01, 12.25, 0.01, 0.999, -3, 1e-6, -2e-6, 1},
                       {1, 2, 3},      cv::Rect(1, 2, 3, 4), "mover_01.png"};
    saveTruth(folder.path(""), truth);
    const std::optional<BurstTruth> back = loadTruth(folder.path(""));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->seed, truth.seed);
    const auto* found = back->find("some/where/frame_01.png");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->clean, "clean_01.png");
    EXPECT_EQ(found->mover, truth.frames[1].mover);
    EXPECT_EQ(found->moverMask, "mover_01.png");
    EXPECT_EQ(back->find("frame_02.png"), nullptr);
    EXPECT_EQ(homographyBetween(back->frames[0], *found), truth.frames[1].homography);
    for (const char* const damaged : {"", "{", "[]", R"({"photo": 1})", R"({"frames": [{}]})"}) {
        folder.write("truth.json", damaged);
        EXPECT_THROW(loadTruth(folder.path("")), HostError) << damaged;
    }
}

}  // namespace eishost
