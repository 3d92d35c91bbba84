// One warp that several threads share.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "libCore/core/source/neon/warp/affine_transform.h"

namespace eis {

// The rows of a full warp, in bands for four threads. A thread takes runs of rows of its own band first, for neighbours
// share source rows, then of bands whose threads are behind: cores differ in speed and in what else they do. The
// columns beside a run are mirrored with it, while its rows are in the cache.
class WarpRuns {
  public:
    static constexpr int kBands = 4;

    // The record must outlive the runs.
    explicit WarpRuns(const WarpRecord& record);

    // Takes runs until none is left, from those of `band` on. Any number of threads may be in it.
    void work(int band);

  private:
    void workIn(int band);

    const WarpRecord& record_;
    const int32_t bandRows_;
    std::array<std::atomic<int32_t>, kBands> next_{};  // of each band where its next run starts, from its first row
};

}  // namespace eis
