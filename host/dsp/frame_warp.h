// Ransac_Regis_AcoreAPI_EIS as a host calls it to warp frame after frame by homographies of its own choice.
#pragma once

#include <iosfwd>
#include <opencv2/core.hpp>
#include <vector>

#include "host/dsp/dsp_arena.h"
#include "host/dsp/registration_call.h"

namespace eishost {

// The entry takes match pairs and fits the homography itself, so it is given pairs that are exact for the wanted one.
// The pictures are memory that host and DSP share, for frames are many and a copy of each costs as much as its warp.
class FrameWarp {
  public:
    // Even width; a height that is a multiple of 8. `arena` outlives this.
    FrameWarp(DspArena& arena, int width, int height);

    // Planes: 0 is luma, 1 and 2 are chroma. To be written before a call, and read after it.
    cv::Mat input(int plane) const { return plane_(0, plane); }
    cv::Mat output(int plane) const { return plane_(1, plane); }

    // Resamples the input by `homography`, which leads from positions of the output to such of the input. Where it
    // leads outside the library mirrors what lies inside. False when the library refuses it, as when over 300 pixels
    // of width or height would be lost; then the output is a copy of the input. HostError(kExitLibrary) when the entry
    // fails.
    bool warp(const cv::Matx33d& homography, std::ostream* log);

  private:
    cv::Mat plane_(int picture, int plane) const;
    void writePairs(const cv::Matx33d& homography);

    DspArena& arena_;
    cv::Size size_;
    std::vector<std::uint8_t> memory_[2][3];  // input and output
    std::vector<cv::Point2d> grid_;
    RansacEstParaContext contextWords_{};
    RegistrationBlock call_{};
};

}  // namespace eishost
