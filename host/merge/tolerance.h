// What an aligned frame usually differs from the reference where nothing moved, measured from the burst itself.
#pragma once

#include <array>
#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "host/merge/aligned_frame.h"
#include "host/merge/places.h"

namespace eishost {

// How the evidence (see evidence.h) turns into a weight, quad by quad: whole up to `kFullUpTo` times what is usual at
// such a place, nothing from `kNothingFrom` times on, and falling in between.
struct ToleranceMap {
    cv::Mat nothingFrom;  // 16-bit: evidence that brings the weight to 0
    cv::Mat fall;         // 16-bit: weight units lost for each step of evidence, times 65536
};

// Gathers the evidence of every frame by the brightness and the gradient of the reference. Noise grows with one of
// them, what registration and resampling leave with the other, and the median of each kind of place sees through what
// moved: no model of the camera is needed.
class ToleranceMeasure {
  public:
    // `reference` outlives this.
    explicit ToleranceMeasure(const Picture& reference);

    void add(const AlignedFrame& frame);

    // For weights from 0 to `unit`. Call after at least one frame was added.
    ToleranceMap finish(int unit) const;

    static constexpr int kSlopes = 12;

  private:
    int kind(int row, int column) const;
    std::array<double, PlaceMap::kLevels * kSlopes> usual() const;

    const Picture& reference_;
    PlaceMap places_;
    std::vector<std::uint32_t> histograms_;
};

}  // namespace eishost
