#include "libCore/core/source/neon/warp/warp_runs.h"

#include <algorithm>

#include "libCore/core/source/neon/warp/mirror_fill.h"
#include "libCore/core/source/neon/warp/warp_rows.h"

namespace eis {

namespace {

constexpr int32_t kRunRows = 16;

}  // namespace

WarpRuns::WarpRuns(const WarpRecord& record) : record_(record), bandRows_(record.h / kBands) {}

void WarpRuns::work(int band) {
    for (int i = 0; i < kBands; ++i) workIn((band + i) % kBands);
}

void WarpRuns::workIn(int band) {
    const int32_t first = record_.y + band * bandRows_;
    std::atomic<int32_t>& next = next_[band];
    for (int32_t start = next.fetch_add(kRunRows); start < bandRows_; start = next.fetch_add(kRunRows)) {
        const int32_t end = std::min(start + kRunRows, bandRows_);
        for (int32_t row = start; row < end; row += 2) WarpRowPair(record_, first + row, false);
        MirrorFillColumns(record_.destination, record_.x, record_.w, first + start, first + end);
    }
}

}  // namespace eis
