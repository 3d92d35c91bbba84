// How the camera moves from frame to frame of a clip.
#pragma once

#include <deque>
#include <iosfwd>
#include <opencv2/core.hpp>
#include <optional>
#include <vector>

#include "host/dsp/pair_filter.h"

namespace eishost {

struct FrameMotion {
    // From positions in the frame before to positions in this one. Where the frames do not tell, what the camera did
    // last, and the identity at the first frame and at a cut.
    cv::Matx33d fromPrevious = cv::Matx33d::eye();
    bool reliable = true;  // measured
    bool cut = false;      // this frame shows another scene
};

struct TrackerOptions {
    bool toReference = false;  // measure against the scene's first frame too, for a camera that stands still
    std::ostream* log = nullptr;
};

// Corners (Shi and Tomasi, "Good features to track", 1994) are followed by pyramidal Lucas-Kanade (Bouguet, "Pyramidal
// implementation of the Lucas Kanade feature tracker", 2001) in the frame at reduced size, and the library keeps those
// that agree on one homography.
class MotionTracker {
  public:
    MotionTracker(DspArena& arena, cv::Size frame, const TrackerOptions& options);

    // The motion to the clip's next frame.
    FrameMotion next(const cv::Mat& luma);

  private:
    // A frame made ready.
    struct View {
        std::vector<cv::Mat> pyramid;
        std::vector<cv::Point2f> points;  // what is to be followed from here, in the reduced frame
        std::vector<int> ages;            // of the points: for how many frames each agreed with the motion
        cv::Mat thumbnail;                // of mean 0 and variance 1; zero for a blank frame
        int sinceSearch = 0;              // frames since points were looked for
    };
    // Points as they lie in two frames.
    struct Followed {
        PointPairs pairs;
        std::vector<int> ages;

        Followed those(const std::vector<int>& numbers) const;
    };
    // A homography of full size pixels, and the points that agree on it.
    struct Estimate {
        cv::Matx33d homography;
        Followed points;
    };

    View prepare(const cv::Mat& luma) const;
    void findPoints(View& view) const;
    Followed follow(const View& from, const View& to, const cv::Matx33d& expected) const;
    Followed ofTheScene(const Followed& points, cv::Size reduced, double tolerance);
    std::optional<Estimate> estimate(const View& from, const View& to, const cv::Matx33d& expected);
    std::optional<Estimate> acrossGap(const View& view);
    void refineByReference(const View& view, FrameMotion& motion);
    void restart(View view);

    PairFilter filter_;
    cv::Size frame_;
    TrackerOptions options_;
    int reduction_;
    std::optional<View> last_;
    // The last frame before the ones that could not be measured, and the motion that was assumed since.
    std::optional<View> beforeGap_;
    cv::Matx33d sinceGap_ = cv::Matx33d::eye();
    int gap_ = 0;
    cv::Matx33d usual_ = cv::Matx33d::eye();  // running mean of the measured motions
    std::optional<View> reference_;
    cv::Matx33d fromReference_ = cv::Matx33d::eye();
};

}  // namespace eishost
