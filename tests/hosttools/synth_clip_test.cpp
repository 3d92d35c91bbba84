// Synthetic clips: the truth agrees with the pixels, the shake is as strong as asked for, and each option does its own.
#include "host/synth/synth_clip.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include "host/picture/metrics.h"
#include "host/program/exit_codes.h"

namespace eishost {

namespace {

cv::Mat softScene(int width, int height) {
    cv::Mat coarse(height / 16, width / 16, CV_8UC3);
    cv::RNG(5).fill(coarse, cv::RNG::UNIFORM, 0, 256);
    cv::Mat fine;
    cv::resize(coarse, fine, {width, height}, 0, 0, cv::INTER_CUBIC);
    return fine;
}

ClipOptions smallClip() {
    ClipOptions options;
    options.frames = 40;
    options.size = {320, 240};
    options.shake = 1;
    return options;
}

// Root mean square over frames and places of the content's second difference.
double acceleration(const ClipSynthesiser& clip, const ClipOptions& options) {
    double sum = 0;
    int count = 0;
    for (int index = 1; index + 1 < options.frames; ++index) {
        const cv::Matx33d back = clip.homography(index).inv();
        for (double x = 0; x <= options.size.width; x += options.size.width / 8.0) {
            for (double y = 0; y <= options.size.height; y += options.size.height / 8.0) {
                const cv::Vec3d content = back * cv::Vec3d(x, y, 1);
                const cv::Vec3d second = (clip.homography(index - 1) + clip.homography(index + 1)) * content -
                                         2 * (clip.homography(index) * content);
                sum += second.dot(second);
                ++count;
            }
        }
    }
    return std::sqrt(sum / count);
}

}  // namespace

TEST(SynthClip, TruePathLeadsFromTheFramesToWhatWasMeant) {
    ClipOptions options = smallClip();
    const ClipSynthesiser clip(softScene(700, 500), options);
    options.steady = true;
    const ClipSynthesiser steady(softScene(700, 500), options);
    const cv::Rect area(40, 40, 240, 160);
    for (const int index : {0, 11, 39}) {
        const Picture meant = pictureFromBgr(steady.frame(index));
        const Picture frame = pictureFromBgr(clip.frame(index));
        const cv::Matx33d path = clip.homography(index) * steady.homography(index).inv();
        const double after = planePsnr(alignByHomography(frame, path, area).mat(0), meant.mat(0), area);
        EXPECT_GT(after, planePsnr(frame.mat(0), meant.mat(0), area) + 10) << index;
        EXPECT_GT(after, 38) << index;
    }
}

TEST(SynthClip, ShakesAsMuchAsItIsTold) {
    ClipOptions options = smallClip();
    options.frames = 600;
    for (const double shake : {0.4, 1.5}) {
        options.shake = shake;
        for (options.seed = 1; options.seed < 4; ++options.seed) {
            EXPECT_NEAR(acceleration(ClipSynthesiser(softScene(900, 700), options), options), shake, 0.1 * shake);
        }
    }
}

TEST(SynthClip, AStillCameraWithoutShakeSeesTheSceneAndItsCut) {
    ClipOptions options = smallClip();
    options.steady = true;
    options.still = true;
    options.cut = 20;
    const ClipSynthesiser clip(softScene(500, 400), options);
    EXPECT_EQ(cv::norm(clip.frame(0), clip.frame(19), cv::NORM_INF), 0);
    EXPECT_GT(cv::norm(clip.frame(19), clip.frame(20), cv::NORM_INF), 50);
    EXPECT_EQ(cv::norm(clip.frame(20), clip.frame(39), cv::NORM_INF), 0);
    EXPECT_EQ(clip.sceneOf(19), 0);
    EXPECT_EQ(clip.sceneOf(20), 1);
}

TEST(SynthClip, LongClipsTurnBackInsideThePhotograph) {
    cv::Mat photo(420, 560, CV_8UC3, cv::Scalar::all(255));
    cv::rectangle(photo, {0, 0}, {559, 419}, cv::Scalar::all(0));
    ClipOptions options = smallClip();
    options.frames = 900;
    const ClipSynthesiser clip(photo, options);
    double farthest = 0;
    for (int index = 0; index < options.frames; index += 15) {
        double darkest = 0;
        cv::minMaxLoc(clip.frame(index).reshape(1), &darkest);
        ASSERT_EQ(darkest, 255) << index;
        farthest = std::max(farthest, -clip.homography(index)(0, 2));
    }
    EXPECT_GT(farthest, 60);
    EXPECT_LT(acceleration(clip, options), 1.1) << "turning back is no jerk";
}

TEST(SynthClip, TheMoverFillsAnEllipseInItsBox) {
    ClipOptions options = smallClip();
    options.steady = true;
    options.still = true;
    const cv::Mat photo = softScene(700, 500);
    const cv::Mat bare = ClipSynthesiser(photo, options).frame(0);
    options.mover = true;
    options.moverSize = 156;  // a third of the frame
    options.moverContrast = 50;
    const ClipSynthesiser clip(photo, options);
    for (const int index : {0, 39}) {
        cv::Mat change;
        cv::absdiff(clip.frame(index), bare, change);
        cv::cvtColor(change, change, cv::COLOR_BGR2GRAY);
        EXPECT_NEAR(cv::countNonZero(change > 25), CV_PI * 76 * 76, 1500);
        change(clip.mover(index).value()) = 0;
        EXPECT_EQ(cv::countNonZero(change), 0);
    }
    options.moverSize = 300;
    EXPECT_THROW(ClipSynthesiser(photo, options), HostError);
}

}  // namespace eishost
