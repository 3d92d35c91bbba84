// Measures of pictures and homographies against the truth.
#pragma once

#include <nlohmann/json.hpp>
#include <opencv2/core.hpp>
#include <optional>
#include <string>

#include "host/picture/picture.h"

namespace eishost {

// Peak signal-to-noise ratio of 8-bit samples inside `area`, in dB; infinite where they are equal. With `counted`,
// which has the plane's size, only of the samples where it is not 0; NaN where that leaves none.
double planePsnr(const cv::Mat& plane, const cv::Mat& reference, const cv::Rect& area, const cv::Mat& counted = {});

// "29.11", or "identical" for an infinite one.
std::string psnrText(double psnr);

// "29.11 > 34.20 (+5.09)", or "identical" when both are.
std::string gainText(double before, double after);

// Mean structural similarity inside `area`, -1 to 1: Gaussian window of 11 by 11 with sigma 1.5 at every position where
// it fits, K1 0.01, K2 0.03 (Wang, Bovik, Sheikh, Simoncelli, Image quality assessment: from error visibility to
// structural similarity, IEEE TIP 2004). Exact to 1e-4. `area` must be at least 11 by 11. With `counted`, which has the
// plane's size, only of the positions whose middle is not 0 there; NaN where that leaves none.
double planeSsim(const cv::Mat& plane, const cv::Mat& reference, const cv::Rect& area, const cv::Mat& counted = {});

// What `counted`, of luma's size, is for a plane: a chroma sample counts where all of its luma samples do.
cv::Mat countedInPlane(const cv::Mat& counted, int plane);

struct PictureQuality {
    cv::Vec3d psnr;  // of Y, U, V
    cv::Vec3d ssim;
};

// Of all planes inside `area`, given in luma pixels and even, and where `counted`, of luma's size, is not 0.
PictureQuality pictureQuality(const Picture& picture, const Picture& reference, const cv::Rect& area,
                              const cv::Mat& counted = {});

// A figure as JSON has it: null for one that is missing, infinite or no number.
nlohmann::json finiteOrNull(std::optional<double> value);
// {"y": .., "u": .., "v": ..}, of such figures.
nlohmann::json threePlanes(const cv::Vec3d& values);

// {"psnr": {"y": .., "u": .., "v": ..}, "ssim": {...}}, an infinite value as null.
void to_json(nlohmann::json& json, const PictureQuality& quality);

// Where a homography puts a point.
cv::Point2d project(const cv::Matx33d& homography, const cv::Point2d& point);

struct CornerError {
    double largest;  // pixels
    double mean;
};

// How far apart two homographies put the four corners of a frame, (0, 0) to (width - 1, height - 1).
CornerError cornerError(const cv::Matx33d& estimate, const cv::Matx33d& truth, cv::Size frame);

void to_json(nlohmann::json& json, const CornerError& error);

// `frame` resampled onto the reference by the rules of the library's warp, in plain code of the tool's own: what an
// aligned picture would be if its homography were the true one. `homography` maps reference to frame positions with
// element 8 equal to 1; `area` has even corners and sides that are multiples of 8. Samples outside `area` are 0.
//
// The rules: luma is bilinear with weights of 1/128; each block of two by two shares the position of its upper left
// pixel; one reciprocal of the perspective divisor serves eight columns; chroma is the nearest sample.
Picture alignByHomography(const Picture& frame, const cv::Matx33d& homography, const cv::Rect& area);

}  // namespace eishost
