// A clip made steady, frame after frame, with a bounded number of frames in memory.
#pragma once

#include <deque>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>

#include "host/dsp/dsp_arena.h"
#include "host/dsp/frame_warp.h"
#include "host/motion/motion_tracker.h"
#include "host/motion/path_planner.h"
#include "host/picture/picture.h"

namespace eishost {

struct StabilizerOptions {
    PathOptions path;
    bool measureOnly = false;  // decide the corrections, and leave the pictures as they are
    std::ostream* trace = nullptr;
    std::ostream* log = nullptr;
};

struct SteadyFrame {
    std::size_t number = 0;  // in the clip, from 0
    Picture picture;
    std::string fields;  // what the clip says of this picture
    FrameMotion motion;
    cv::Matx33d correction;  // from positions of the result to such of the frame
    bool refused = false;    // by the library: then only zoomed
    double border = 0;       // share of the result that the frame does not cover
};

// Processor time so far, in milliseconds.
struct StabilizerTimes {
    double motion = 0;
    double path = 0;
    double library = 0;  // the entry that fits and warps
};

// The least sides that the library can warp.
constexpr int kLeastClipSide = 32;

class Stabilizer {
  public:
    // `take` gets each frame when it is done, in order. HostError(kExitUnsuitable) for a frame that is too small.
    Stabilizer(cv::Size frame, const StabilizerOptions& options, std::function<void(SteadyFrame&&)> take);

    void add(Picture&& picture, std::string_view fields);

    const StabilizerTimes& times() const { return times_; }

    // Does what waits for frames that will not come.
    void finish();

  private:
    void decide(std::size_t count);
    void steady(SteadyFrame& frame);
    bool warped(const cv::Matx33d& correction);

    StabilizerOptions options_;
    cv::Size frame_;
    int padding_;
    std::function<void(SteadyFrame&&)> take_;
    DspArena arena_;
    MotionTracker tracker_;
    PathPlanner planner_;
    FrameWarp warp_;
    std::deque<SteadyFrame> pending_;
    std::size_t count_ = 0;
    StabilizerTimes times_;
};

}  // namespace eishost
