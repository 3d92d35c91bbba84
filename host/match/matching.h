// Matches between two frames, as the DSP would hand them to the library.
#pragma once

#include <opencv2/core.hpp>

#include "host/dsp/match_tables.h"
#include "host/match/keypoints.h"

namespace eishost {

// A frame made ready for matching; the reference of a burst is made ready once.
struct MatchableFrame {
    MatchableFrame() = default;
    explicit MatchableFrame(const cv::Mat& luma);

    Keypoints keypoints;
    cv::Mat smooth;  // luma, for refinement
};

// The two nearest neighbours in `cur` of each keypoint of `ref`. The nearest one's position is refined to a fraction of
// a pixel by iterated least squares on the pixels around both points (Lucas and Kanade, 1981); a reference keypoint
// whose refinement does not settle is left out. Each refined position is a row of its own in the table of current
// keypoints.
MatchTables matchFrames(const MatchableFrame& ref, const MatchableFrame& cur);

}  // namespace eishost
