// Measures on pictures whose value is known.
#include "host/picture/metrics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/imgproc.hpp>

namespace eishost {

namespace {

cv::Mat texture(int width, int height) {
    cv::Mat plane(height, width, CV_8U);
    cv::RNG random(5);
    random.fill(plane, cv::RNG::UNIFORM, 40, 200);
    cv::GaussianBlur(plane, plane, {5, 5}, 1.2);
    return plane;
}

cv::Matx33d shift(double x, double y) {
    return {1, 0, x, 0, 1, y, 0, 0, 1};
}

}  // namespace

TEST(Metrics, PsnrSeesTheAreaAlone) {
    const cv::Mat reference = texture(40, 30);
    cv::Mat plane = reference + 5;
    const cv::Rect inner(8, 6, 20, 10);
    EXPECT_NEAR(planePsnr(plane, reference, {0, 0, 40, 30}), 20 * std::log10(255.0 / 5), 1e-9);
    reference(inner).copyTo(plane(inner));
    EXPECT_TRUE(std::isinf(planePsnr(plane, reference, inner)));
}

// One window, weighted by hand.
TEST(Metrics, SsimAgreesWithItsFormula) {
    const cv::Mat a = texture(64, 48);
    const cv::Mat b = 255 - texture(64, 48);
    const cv::Rect window(20, 10, 11, 11);
    const cv::Mat kernel = cv::getGaussianKernel(11, 1.5);
    const cv::Mat weights = kernel * kernel.t();
    const auto mean = [&](const cv::Mat& first, const cv::Mat& second) {
        cv::Mat x;
        cv::Mat y;
        first(window).convertTo(x, CV_64F);
        second(window).convertTo(y, CV_64F);
        return weights.dot(x.mul(y));
    };
    const cv::Mat one(48, 64, CV_8U, cv::Scalar(1));
    const double meanA = mean(a, one);
    const double meanB = mean(b, one);
    const double c1 = 2.55 * 2.55;
    const double c2 = 7.65 * 7.65;
    const double expected =
        (2 * meanA * meanB + c1) * (2 * (mean(a, b) - meanA * meanB) + c2) /
        ((meanA * meanA + meanB * meanB + c1) * (mean(a, a) - meanA * meanA + mean(b, b) - meanB * meanB + c2));
    EXPECT_LT(expected, 0);
    EXPECT_NEAR(planeSsim(a, b, window), expected, 1e-4);
    EXPECT_NEAR(planeSsim(a, a, {0, 0, 64, 48}), 1, 1e-6);
}

TEST(Metrics, CornerErrorIsADistance) {
    const CornerError moved = cornerError(shift(3, 4) * 7, shift(0, 0), {101, 51});
    EXPECT_NEAR(moved.largest, 5, 1e-12);
    EXPECT_NEAR(moved.mean, 5, 1e-12);
}

TEST(Metrics, AlignedWholePixelsAreCopiesAndHalvesAverages) {
    Picture frame(160, 96);
    for (int plane = 0; plane < 3; ++plane)
        texture(plane == 0 ? 160 : 80, plane == 0 ? 96 : 48).copyTo(frame.mat(plane));
    const cv::Rect area(16, 16, 96, 64);
    const Picture even = alignByHomography(frame, shift(6, -4), area);
    EXPECT_EQ(cv::norm(even.mat(0)(area), frame.mat(0)(area + cv::Point(6, -4)), cv::NORM_INF), 0);
    const cv::Rect chroma(8, 8, 48, 32);
    EXPECT_EQ(cv::norm(even.mat(2)(chroma), frame.mat(2)(chroma + cv::Point(3, -2)), cv::NORM_INF), 0);
    EXPECT_EQ(cv::countNonZero(even.mat(0)), area.area()) << "nothing outside the area";
    const Picture odd = alignByHomography(frame, shift(5, -3), area);
    EXPECT_EQ(cv::norm(odd.mat(2)(chroma), frame.mat(2)(chroma + cv::Point(3, -1)), cv::NORM_INF), 0);

    const Picture half = alignByHomography(frame, shift(0.5, 0), area);
    cv::Mat sum;
    cv::add(frame.mat(0)(area), frame.mat(0)(area + cv::Point(1, 0)), sum, cv::noArray(), CV_16U);
    for (const cv::Point& at : {cv::Point(0, 0), cv::Point(31, 17), cv::Point(95, 63)}) {
        EXPECT_EQ(half.mat(0)(area).at<std::uint8_t>(at), (sum.at<std::uint16_t>(at) + 1) / 2) << at;
    }
}

}  // namespace eishost
