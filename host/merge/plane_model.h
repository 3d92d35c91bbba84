// What a burst tells about the noise of its planes, and about what registration left in the mean of its frames.
#pragma once

#include <array>
#include <opencv2/core.hpp>

#include "host/merge/places.h"
#include "host/merge/wiener.h"

namespace eishost {

// How busy a place is, from the least to the most eventful eighth of the picture.
constexpr int kActivityClasses = 8;

// Noise of an aligned frame as a share of the reference's, by plane: luma was interpolated, chroma copied.
constexpr std::array<double, 3> kAlignedNoise{0.6, 1, 1};

// What is known of each quad before any plane is looked at.
struct QuadKinds {
    // `luma` is as clean as can be had; `weights` are what the frames have there, of `most`.
    QuadKinds(const cv::Mat& luma, const cv::Mat& weights, double most);

    PlaceMap places;
    cv::Mat settled;  // 8-bit: not 0 where so many frames agree that the merged picture is nearly clean
    cv::Mat classes;  // 8-bit: the class of activity
};

// One plane, all variances in squared levels.
struct PlaneModel {
    // Of the reference's noise, by brightness.
    std::array<double, PlaceMap::kLevels> noise{};
    // The filter of the frames' mean, by activity, and the variance of what it misses the clean picture by.
    std::array<std::array<float, kFilterGroups>, kActivityClasses> filters{};
    std::array<double, kActivityClasses> error{};
    std::array<double, kActivityClasses> classNoise{};  // of the reference's noise again, by activity
    double meanNoise = 0;                               // over the picture
};

// Samples along a quad's side.
constexpr int samplesAlong(int plane) {
    return plane == 0 ? 2 : 1;
}

// Learns from the settled quads. `mean` is that of the frames but the reference, in units of Accumulator::kMeanUnits.
PlaneModel learnPlane(const cv::Mat& reference, const cv::Mat& mean, const QuadKinds& kinds, int plane, int frames);

// The mean, filtered as its places want it, in the same units.
cv::Mat filteredMean(const cv::Mat& mean, const QuadKinds& kinds, const PlaneModel& model, int plane);

}  // namespace eishost
