// Keypoints and their descriptors, spread over the frame.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

namespace eishost {

struct Keypoints {
    std::vector<cv::Point2f> points;  // pixels of the picture
    cv::Mat descriptors;              // one row a point, for the Hamming norm

    // The share of an 8 by 6 grid's cells that hold three points at least, 0 to 1.
    static double coverage(const std::vector<cv::Point2f>& points, cv::Size frame);
};

// The strongest corners (Shi and Tomasi, "Good features to track", 1994) of each cell of a 16 by 12 grid, at most 3840,
// with ORB descriptors (Rublee et al., 2011). The descriptors are upright: frames that turn by more than a few degrees
// cannot be registered anyway. Pictures above 4 megapixels are searched at half size, which quietens noise, so a point
// is good to about a pixel and made for refinement. A blank picture has none.
Keypoints findKeypoints(const cv::Mat& luma);

}  // namespace eishost
