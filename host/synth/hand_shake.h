// The shake of a hand that holds a camera.
#pragma once

#include <array>
#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

namespace eishost {

// Shift in x and y, turn and zoom of what a hand-held camera sees, each a sum of sines of random phase, four an octave
// from 0.25 to 12 Hz. The amplitude is level below 1 Hz, where the body sways, falls as 1/f up to 8 Hz, where the
// muscles' tremor lies, and as the cube of 1/f above, where the camera's own mass takes over. Frames are a thirtieth of
// a second apart. The same seed gives the same shake, of any length.
class HandShake {
  public:
    static constexpr double kRate = 30;  // frames a second

    // `acceleration` is the root mean square of the second difference, from frame to frame, of where the content of a
    // frame of that size lies, in pixels; 0 for a camera that does not shake.
    HandShake(std::uint64_t seed, double acceleration, cv::Size frame);

    // Maps a position in a frame that the steady camera takes to its position in the frame of number `index`.
    cv::Matx33d at(int index) const;

  private:
    enum Axis { kX, kY, kTurn, kZoom, kAxes };

    struct Wave {
        double amplitude;  // pixels, radians, or the logarithm of the zoom
        double step;       // of the phase, from frame to frame
        double phase;
    };

    cv::Point2d centre_;
    std::array<std::vector<Wave>, kAxes> waves_;
};

}  // namespace eishost
