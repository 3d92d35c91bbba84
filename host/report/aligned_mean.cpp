#include "host/report/aligned_mean.h"

namespace eishost {

AlignedMean::AlignedMean(const Picture& reference) : shape_(reference.width, reference.height) {
    shape_.range = reference.range;
    for (int plane = 0; plane < 3; ++plane) {
        reference.mat(plane).convertTo(sums_[plane], CV_32F);
        counts_[plane] = cv::Mat::ones(sums_[plane].size(), CV_32F);
    }
}

void AlignedMean::add(const Picture& aligned, const cv::Rect& area) {
    for (int plane = 0; plane < 3; ++plane) {
        const int part = plane == 0 ? 1 : 2;
        const cv::Rect filled(area.x / part, area.y / part, area.width / part, area.height / part);
        cv::Mat frame;
        aligned.mat(plane)(filled).convertTo(frame, CV_32F);
        sums_[plane](filled) += frame;
        counts_[plane](filled) += 1;
    }
}

Picture AlignedMean::mean() const {
    Picture picture = shape_;
    for (int plane = 0; plane < 3; ++plane) {
        cv::Mat samples = picture.mat(plane);
        cv::Mat(sums_[plane] / counts_[plane]).convertTo(samples, CV_8U);
    }
    return picture;
}

}  // namespace eishost
