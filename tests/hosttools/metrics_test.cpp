// Measures on pictures whose value is known.
#include "host/metrics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/imgproc.hpp>

#include "host/exit_codes.h"

namespace eishost {

namespace {

cv::Mat texture(int width, int height) {
    cv::Mat plane(height, width, CV_8U);
    cv::RNG random(5);
    random.fill(plane, cv::RNG::UNIFORM, 40, 200);
    cv::GaussianBlur(plane, plane, {5, 5}, 1.2);
    return plane;
}

Picture texturedPicture(int width, int height) {
    Picture picture(width, height);
    for (int plane = 0; plane < 3; ++plane) {
        cv::Mat samples = picture.mat(plane);
        texture(samples.cols, samples.rows).copyTo(samples);
    }
    return picture;
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
    plane.at<std::uint8_t>(6, 8) ^= 1;
    EXPECT_NEAR(planePsnr(plane, reference, inner), 10 * std::log10(255.0 * 255 * 200), 1e-9);
}

TEST(Metrics, SsimAgreesWithItsFormula) {
    const cv::Mat reference = texture(64, 48);
    const cv::Rect all(0, 0, 64, 48);
    EXPECT_NEAR(planeSsim(reference, reference, all), 1, 1e-6);

    // Two flat pictures leave the luminance term alone.
    const cv::Mat dark(48, 64, CV_8U, cv::Scalar(100));
    const cv::Mat light(48, 64, CV_8U, cv::Scalar(150));
    const double c1 = 2.55 * 2.55;
    EXPECT_NEAR(planeSsim(dark, light, all), (2 * 100.0 * 150 + c1) / (100.0 * 100 + 150.0 * 150 + c1), 1e-4);

    // One window only: weighted by hand.
    const cv::Rect window(20, 10, 11, 11);
    const cv::Mat other = 255 - texture(64, 48);
    const cv::Mat kernel = cv::getGaussianKernel(11, 1.5);
    double sum[5] = {};
    for (int row = 0; row < 11; ++row)
        for (int column = 0; column < 11; ++column) {
            const double weight = kernel.at<double>(row) * kernel.at<double>(column);
            const double a = reference.at<std::uint8_t>(window.y + row, window.x + column);
            const double b = other.at<std::uint8_t>(window.y + row, window.x + column);
            const double terms[] = {a, b, a * a, b * b, a * b};
            for (int i = 0; i < 5; ++i) sum[i] += weight * terms[i];
        }
    const double c2 = 7.65 * 7.65;
    const double expected =
        (2 * sum[0] * sum[1] + c1) * (2 * (sum[4] - sum[0] * sum[1]) + c2) /
        ((sum[0] * sum[0] + sum[1] * sum[1] + c1) * (sum[2] - sum[0] * sum[0] + sum[3] - sum[1] * sum[1] + c2));
    EXPECT_LT(expected, 0);
    EXPECT_NEAR(planeSsim(reference, other, window), expected, 1e-4);
    EXPECT_THROW(planeSsim(reference, other, cv::Rect(0, 0, 10, 20)), HostError);
}

TEST(Metrics, QualityNamesItsPlanes) {
    const Picture reference = texturedPicture(64, 48);
    Picture picture = reference;
    picture.mat(1) += 2;
    const PictureQuality quality = pictureQuality(picture, reference, {8, 8, 40, 32});
    const nlohmann::json json = quality;
    EXPECT_TRUE(json["psnr"]["y"].is_null());
    EXPECT_NEAR(json["psnr"]["u"].get<double>(), 20 * std::log10(255.0 / 2), 1e-9);
    EXPECT_NEAR(json["ssim"]["v"].get<double>(), 1, 1e-6);
}

TEST(Metrics, CornerErrorIsADistance) {
    const cv::Size frame(101, 51);
    const CornerError same = cornerError(shift(3, 4), shift(3, 4), frame);
    EXPECT_EQ(same.largest, 0);
    const CornerError moved = cornerError(shift(3, 4), shift(0, 0), frame);
    EXPECT_NEAR(moved.largest, 5, 1e-12);
    EXPECT_NEAR(moved.mean, 5, 1e-12);
    // Magnified about the origin: the corners move by 0, 1, 0.5 and their hypotenuse.
    const CornerError grown = cornerError(cv::Matx33d(1.01, 0, 0, 0, 1.01, 0, 0, 0, 1), shift(0, 0), frame);
    EXPECT_NEAR(grown.largest, std::hypot(1, 0.5), 1e-12);
    EXPECT_NEAR(grown.mean, (1.5 + std::hypot(1, 0.5)) / 4, 1e-12);
    // A homography is the same in every scale.
    EXPECT_NEAR(cornerError(shift(3, 4) * 7, shift(3, 4), frame).largest, 0, 1e-12);
}

TEST(Align, WholePixelsAreCopiesAndHalvesAverages) {
    const Picture frame = texturedPicture(160, 96);
    const cv::Rect area(16, 16, 96, 64);
    const Picture even = alignByHomography(frame, shift(6, -4), area);
    EXPECT_EQ(cv::norm(even.mat(0)(area), frame.mat(0)(area + cv::Point(6, -4)), cv::NORM_INF), 0);
    const cv::Rect chromaArea(8, 8, 48, 32);
    for (const int plane : {1, 2}) {
        const cv::Mat expected = frame.mat(plane)(chromaArea + cv::Point(3, -2));
        EXPECT_EQ(cv::norm(even.mat(plane)(chromaArea), expected, cv::NORM_INF), 0);
    }
    EXPECT_EQ(cv::countNonZero(even.mat(0)), area.area()) << "nothing outside the area";

    const Picture half = alignByHomography(frame, shift(0.5, 0), area);
    for (int row = area.y; row < area.y + area.height; ++row)
        for (int column = area.x; column < area.x + area.width; ++column) {
            const int sum = frame.mat(0).at<std::uint8_t>(row, column) + frame.mat(0).at<std::uint8_t>(row, column + 1);
            ASSERT_EQ(half.mat(0).at<std::uint8_t>(row, column), (sum + 1) / 2) << row << ' ' << column;
        }
}

TEST(Align, FollowsAGeneralHomography) {
    // A picture that tells its own position: smooth in both directions.
    Picture frame(640, 480);
    for (int row = 0; row < frame.height; ++row)
        for (int column = 0; column < frame.width; ++column)
            frame.mat(0).at<std::uint8_t>(row, column) = cv::saturate_cast<std::uint8_t>(40 + column / 6.0 + row / 8.0);
    const cv::Matx33d homography(0.9999, -0.008, 12.3, 0.008, 0.9999, -7.6, 2e-6, -3e-6, 1);
    const cv::Rect area(32, 32, 560, 400);
    const Picture aligned = alignByHomography(frame, homography, area);
    for (int row = area.y; row < area.y + area.height; row += 7)
        for (int column = area.x; column < area.x + area.width; column += 5) {
            const cv::Vec3d at = homography * cv::Vec3d(column, row, 1);
            const double expected = 40 + at[0] / at[2] / 6 + at[1] / at[2] / 8;
            ASSERT_NEAR(aligned.mat(0).at<std::uint8_t>(row, column), expected, 1.1) << row << ' ' << column;
        }
}

}  // namespace eishost
