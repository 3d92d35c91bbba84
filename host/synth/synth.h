// Synthetic bursts: frames of a hand-held camera, rendered from one photograph, with known homographies.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <optional>
#include <vector>

#include "host/picture/picture.h"
#include "host/synth/synth_noise.h"
#include "host/synth/synth_truth.h"

namespace eishost {

struct SynthOptions {
    int frames = 4;
    NoiseSetting noise;
    double shift = 40;                    // largest length of the shift, pixels
    std::optional<cv::Point> exactShift;  // instead: every frame but the reference is shifted by exactly this
    double rotation = 0.5;                // largest rotation about the frame's centre, degrees
    double perspective = 0.002;           // largest change of scale from the frame's centre to its edges
    bool mover = false;
    std::optional<int> moverSize;      // width and height of its box; else a sixth and an eighth of the shorter side
    std::optional<int> moverContrast;  // levels between it and what it covers; else a piece of the photograph, turned
    std::optional<PictureSize> size;   // of the frames, from the middle of the photograph made smaller to fit
    std::uint64_t seed = 1;
};

// Renders the frames of one burst, each on its own. The same photograph, options and seed give the same frames.
//
// Frames lie inside the photograph with what the motion needs around them, so that each is covered by real pixels;
// their width is even and their height a multiple of 8. They are resampled with Lanczos' kernel (8 by 8 taps, positions
// to 1/32 pixel), but a frame that is moved by whole pixels only is a copy: its luma is that of the reference, shifted,
// to the last bit, and so is its chroma when both parts of the shift are even (else chroma covers other pixels, as it
// does on a sensor).
class BurstSynthesiser {
  public:
    // `photo` is 8-bit BGR. HostError(kExitUnsuitable) if it is too small for the motion or the size asked for.
    BurstSynthesiser(const cv::Mat& photo, const SynthOptions& options);

    cv::Size frameSize() const { return frameSize_; }
    // Maps a position of frame 0 to its position in frame `index`; the identity for 0.
    const cv::Matx33d& homography(int index) const { return homographies_.at(index); }
    // The box of the moving object in frame `index`, in positions of frame 0.
    std::optional<cv::Rect> mover(int index) const;
    // Where it is in that frame, 255 on 0, in positions of frame 0.
    cv::Mat moverMask(int index) const;

    NoisyFrame frame(int index) const;

  private:
    void layOut(const cv::Mat& photo);
    void drawMotion();
    cv::Mat scene(int index) const;

    SynthOptions options_;
    cv::Mat photo_;  // already made smaller
    cv::Size frameSize_;
    cv::Point origin_;  // of frame 0 in the photograph
    std::vector<cv::Matx33d> homographies_;
    cv::Size moverSize_;
    std::vector<cv::Point> moverAt_;  // upper left corner of its box in frame 0's positions
};

}  // namespace eishost
