#include "libCore/core/source/neon/warp_runs.h"

#include <algorithm>

#include "libCore/core/source/neon/mirror_fill.h"
#include "libCore/core/source/neon/warp_rows.h"

namespace eis {

namespace {

constexpr int32_t kRunRows = 16;

}  // namespace

void WarpRuns::work() {
    const int32_t end = record_.y + record_.h;
    for (int32_t start = next_.fetch_add(kRunRows); start < end; start = next_.fetch_add(kRunRows)) {
        const int32_t runEnd = std::min(start + kRunRows, end);
        for (int32_t row = start; row < runEnd; row += 2) WarpRowPair_neon(record_, row, false);
        MirrorFillColumns(record_.destination, record_.x, record_.w, start, runEnd);
    }
}

}  // namespace eis
