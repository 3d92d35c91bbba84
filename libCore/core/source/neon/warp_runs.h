// One warp that several threads share.
#pragma once

#include <atomic>
#include <cstdint>

#include "libCore/core/source/neon/affine_transform.h"

namespace eis {

// The rows of a full warp in runs, which threads take one by one as they come free: cores differ in speed and in what
// else they do. The columns beside a run are mirrored with it, while its rows are in the cache.
class WarpRuns {
  public:
    // The record must outlive the runs.
    explicit WarpRuns(const WarpRecord& record) : record_(record), next_(record.y) {}

    // Takes runs until none is left. Any number of threads may be in it.
    void work();

  private:
    const WarpRecord& record_;
    std::atomic<int32_t> next_;  // first row of the next run
};

}  // namespace eis
