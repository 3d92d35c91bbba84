// The weighted sum of the frames of a burst.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <optional>
#include <span>

#include "host/merge/aligned_frame.h"
#include "host/merge/tolerance.h"

namespace eishost {

class EvidenceRows;

// Adds up aligned frames, without the reference: each quad of a frame has a weight from 0 to `unit()`. Without a
// tolerance the weight is whole wherever the frame fills the picture (the mean).
class Accumulator {
  public:
    // As many frames as 16-bit sums have room for at the coarsest weights.
    static constexpr int kMostFrames = 127;
    // Weights for that many frames, reference apart: 16 steps up to 15 frames, fewer steps beyond.
    static int unitFor(int frames);

    // `reference` outlives this; `tolerance` was made for unitFor(frames).
    Accumulator(const Picture& reference, int frames, std::optional<ToleranceMap> tolerance);

    // Frames that come together cost less memory traffic than frames that come one by one.
    void add(std::span<const AlignedFrame> frames);

    int unit() const { return unit_; }
    const cv::Mat& sum(int plane) const { return sums_[plane]; }  // 16-bit
    const cv::Mat& weights() const { return weights_; }           // 8-bit, by quads

    // The mean of the reference and all frames, rounded.
    Picture mean() const;

    static constexpr int kMeanUnits = 64;
    // Turns the sum of a plane into the frames' weighted mean in 64ths of a level, as 16 bits, in place; the
    // reference where no frame counts.
    cv::Mat takeMean(int plane);

  private:
    void weighRow(const AlignedFrame& frame, EvidenceRows* evidence, int row, std::uint16_t* weights) const;
    void addRow(const AlignedFrame& frame, int row, bool whole, const std::uint16_t* weights,
                const std::uint16_t* columns);

    const Picture& reference_;
    int unit_;
    std::optional<ToleranceMap> tolerance_;
    cv::Mat sums_[3];
    cv::Mat weights_;
};

}  // namespace eishost
