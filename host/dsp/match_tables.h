// A k-nearest-neighbour result in the form that the registration block takes.
#pragma once

#include <cstdint>
#include <vector>

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

}  // namespace eishost
