// A k-nearest-neighbour result in the form that the registration block takes.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "host/dsp/dsp_arena.h"

namespace eishost {

// Keypoints are rows of three words: x and y in 1/64 pixel, and one that the library does not read. Entry i of the
// lists pairs a reference keypoint with one of its candidates. All candidates of a reference keypoint stand in the
// lists: the library keeps the best one, if its distance is clearly below the second.
struct MatchTables {
    std::vector<std::int32_t> refKeypoints;
    std::vector<std::int32_t> curKeypoints;
    std::vector<std::int16_t> refIndex;
    std::vector<std::int16_t> curIndex;
    std::vector<std::int32_t> distance;
    float ratio = 0.8f;

    int entries() const { return static_cast<int>(distance.size()); }
};

constexpr int kMaxKeypoints = 32767;  // indices are signed 16-bit words
constexpr float kKeypointUnits = 64.0f;

// A row of a keypoint table.
using KeypointRow = std::array<std::int32_t, 3>;
template <typename T>
KeypointRow keypointRow(const cv::Point_<T>& point) {
    return {static_cast<std::int32_t>(std::lround(point.x * kKeypointUnits)),
            static_cast<std::int32_t>(std::lround(point.y * kKeypointUnits)), 0};
}

// Lays lists and tables into memory of the DSP, with room for a pair of points an entry, and makes them coherent: the
// entries do not. What comes back is the block that tells where they are.
RansacEstParaContext putMatches(DspArena& arena, const MatchTables& matches);

}  // namespace eishost
