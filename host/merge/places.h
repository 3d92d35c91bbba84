// What kind of place each two by two pixels of a picture are: how bright, and how much is going on there.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

namespace eishost {

// Merging decides by blocks of two by two pixels, one sample of each chroma plane: "quads" here and beside.
struct PlaceMap {
    explicit PlaceMap(const cv::Mat& luma);

    int level(int row, int column) const { return brightness.ptr(row)[column] / kLevelStep; }

    static constexpr int kLevels = 16;
    static constexpr int kLevelStep = 256 / kLevels;
    static constexpr double kActivityUnits = 4;

    cv::Mat brightness;  // 8-bit, smoothed
    cv::Mat activity;    // 8-bit, quarters of a level a quad: the smoothed picture's gradient, around each quad
};

// Learns from every row of quads in a small picture, from some of a large one: this many rows apart.
int sampledStep(int rows);

}  // namespace eishost
