#include "host/synth/synth_mover.h"

#include <opencv2/imgproc.hpp>

namespace eishost {

cv::Mat moverCoverage(cv::Size box) {
    constexpr int kSubpixelBits = 4;
    cv::Mat coverage(box, CV_8U, cv::Scalar(0));
    const cv::Size radii(box / 2);
    cv::ellipse(coverage, cv::Point(radii.width, radii.height) * (1 << kSubpixelBits),
                (radii - cv::Size(2, 2)) * (1 << kSubpixelBits), 0, 0, 360, 255, cv::FILLED, cv::LINE_AA,
                kSubpixelBits);
    return coverage;
}

void paintMover(cv::Mat under, const cv::Mat& piece, const std::optional<int>& contrast) {
    cv::Mat background;
    under.convertTo(background, CV_32F);
    cv::Mat object;
    if (contrast) {
        const cv::Scalar mean = cv::mean(under);
        const bool light = mean[0] + mean[1] + mean[2] > 3 * 128;
        object = background + cv::Scalar::all(light ? -*contrast : *contrast);
    } else {
        cv::flip(piece, object, -1);
        object.convertTo(object, CV_32F, 0.6, 30);
        cv::multiply(object, cv::Scalar(0.4, 0.5, 1.4), object);
    }
    cv::Mat weight;
    cv::cvtColor(moverCoverage(under.size()), weight, cv::COLOR_GRAY2BGR);
    weight.convertTo(weight, CV_32F, 1 / 255.0);
    cv::Mat mixed = background + weight.mul(object - background);
    mixed.convertTo(under, CV_8U);
}

}  // namespace eishost
