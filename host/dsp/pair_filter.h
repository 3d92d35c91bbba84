// RansacEst_AcoreAPI_EIS as a host calls it: of many pairs those that agree on one homography.
#pragma once

#include <iosfwd>
#include <opencv2/core.hpp>
#include <vector>

#include "host/dsp/dsp_arena.h"

namespace eishost {

// Index-aligned positions in two frames, in pixels.
struct PointPairs {
    std::vector<cv::Point2f> ref;
    std::vector<cv::Point2f> cur;
};

class PairFilter {
  public:
    // Buffers for `mostPairs` pairs are made once, in `arena`, which outlives this.
    PairFilter(DspArena& arena, int mostPairs);

    // The numbers of the pairs that are within `tolerance` pixels of the homography that most of them agree on,
    // ascending; none when there are under five pairs or no homography fits as many. Of pairs with one reference
    // position only the first one counts. `log`, when not null, gets the library's lines. HostError(kExitLibrary) when
    // the entry fails.
    std::vector<int> agreeing(const PointPairs& pairs, double tolerance, std::ostream* log);

  private:
    DspArena& arena_;
    int mostPairs_;
    RansacEstParaContext words_{};
    DeviceAddress block_ = 0;
};

}  // namespace eishost
