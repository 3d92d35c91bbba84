#include "host/picture/metrics.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <opencv2/imgproc.hpp>

#include "host/program/exit_codes.h"

namespace eishost {

namespace {

constexpr int kSsimWindow = 11;
constexpr double kSsimSigma = 1.5;
constexpr double kPeak = 255;

}  // namespace

nlohmann::json finiteOrNull(std::optional<double> value) {
    return value && std::isfinite(*value) ? nlohmann::json(*value) : nlohmann::json();
}

nlohmann::json threePlanes(const cv::Vec3d& values) {
    return {{"y", finiteOrNull(values[0])}, {"u", finiteOrNull(values[1])}, {"v", finiteOrNull(values[2])}};
}

double planePsnr(const cv::Mat& plane, const cv::Mat& reference, const cv::Rect& area, const cv::Mat& counted) {
    const cv::Mat mask = counted.empty() ? cv::Mat() : counted(area);
    const int samples = mask.empty() ? area.area() : cv::countNonZero(mask);
    if (samples == 0) return std::numeric_limits<double>::quiet_NaN();
    const double squares = cv::norm(plane(area), reference(area), cv::NORM_L2SQR, mask);
    if (squares == 0) return std::numeric_limits<double>::infinity();
    return 10 * std::log10(kPeak * kPeak * samples / squares);
}

std::string psnrText(double psnr) {
    if (std::isinf(psnr)) return "identical";
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", psnr);
    return text;
}

std::string gainText(double before, double after) {
    if (std::isinf(before) && std::isinf(after)) return "identical";
    std::string text = psnrText(before) + " > " + psnrText(after);
    if (std::isfinite(before) && std::isfinite(after)) {
        char gain[32];
        std::snprintf(gain, sizeof gain, " (%+.2f)", after - before);
        text += gain;
    }
    return text;
}

double planeSsim(const cv::Mat& plane, const cv::Mat& reference, const cv::Rect& area, const cv::Mat& counted) {
    if (area.width < kSsimWindow || area.height < kSsimWindow)
        throw HostError(kExitUnsuitable, "SSIM needs an area of at least 11x11");
    // Windows that reach beyond the area are left out, so its surroundings do not matter.
    const cv::Rect valid(kSsimWindow / 2, kSsimWindow / 2, area.width - kSsimWindow + 1, area.height - kSsimWindow + 1);
    const auto blur = [&](const cv::Mat& in) {
        cv::Mat out;
        cv::GaussianBlur(in, out, {kSsimWindow, kSsimWindow}, kSsimSigma);
        return cv::Mat(out(valid));
    };
    cv::Mat a;
    cv::Mat b;
    plane(area).convertTo(a, CV_32F);
    reference(area).convertTo(b, CV_32F);
    const cv::Mat meanA = blur(a);
    const cv::Mat meanB = blur(b);
    const cv::Mat meanAB = meanA.mul(meanB);
    const cv::Mat meanSquares = meanA.mul(meanA) + meanB.mul(meanB);
    const cv::Mat variances = blur(a.mul(a) + b.mul(b)) - meanSquares;
    const cv::Mat covariance = blur(a.mul(b)) - meanAB;
    constexpr double kC1 = 0.01 * kPeak * 0.01 * kPeak;
    constexpr double kC2 = 0.03 * kPeak * 0.03 * kPeak;
    const cv::Mat above = (2 * meanAB + kC1).mul(2 * covariance + kC2);
    const cv::Mat below = (meanSquares + kC1).mul(variances + kC2);
    const cv::Mat similarity = above / below;
    if (counted.empty()) return cv::mean(similarity)[0];
    const cv::Mat mask = counted(area)(valid);
    return cv::countNonZero(mask) == 0 ? std::numeric_limits<double>::quiet_NaN() : cv::mean(similarity, mask)[0];
}

cv::Mat countedInPlane(const cv::Mat& counted, int plane) {
    if (counted.empty() || plane == 0) return counted;
    cv::Mat half;
    cv::resize(counted, half, {counted.cols / 2, counted.rows / 2}, 0, 0, cv::INTER_AREA);
    return half == 255;
}

PictureQuality pictureQuality(const Picture& picture, const Picture& reference, const cv::Rect& area,
                              const cv::Mat& counted) {
    PictureQuality quality;
    for (int plane = 0; plane < 3; ++plane) {
        const int step = plane == 0 ? 1 : 2;
        const cv::Rect part(area.x / step, area.y / step, area.width / step, area.height / step);
        const cv::Mat mask = countedInPlane(counted, plane);
        quality.psnr[plane] = planePsnr(picture.mat(plane), reference.mat(plane), part, mask);
        quality.ssim[plane] = planeSsim(picture.mat(plane), reference.mat(plane), part, mask);
    }
    return quality;
}

void to_json(nlohmann::json& json, const PictureQuality& quality) {
    json = {{"psnr", threePlanes(quality.psnr)}, {"ssim", threePlanes(quality.ssim)}};
}

cv::Point2d project(const cv::Matx33d& homography, const cv::Point2d& point) {
    const cv::Vec3d mapped = homography * cv::Vec3d(point.x, point.y, 1);
    return {mapped[0] / mapped[2], mapped[1] / mapped[2]};
}

CornerError cornerError(const cv::Matx33d& estimate, const cv::Matx33d& truth, cv::Size frame) {
    CornerError error{0, 0};
    for (const double x : {0, frame.width - 1}) {
        for (const double y : {0, frame.height - 1}) {
            const double distance = cv::norm(project(estimate, cv::Point2d(x, y)) - project(truth, cv::Point2d(x, y)));
            error.largest = std::max(error.largest, distance);
            error.mean += distance / 4;
        }
    }
    return error;
}

void to_json(nlohmann::json& json, const CornerError& error) {
    json = {{"largest", error.largest}, {"mean", error.mean}};
}

}  // namespace eishost
