#include <cstdlib>

#include "libCore/core/source/neon/ghost/ghost_filter.h"

namespace eis {

namespace {

constexpr int kTaps[7] = {1, 6, 15, 20, 15, 6, 1};

// The filter at `at` in a line of `size` samples.
template <class Sample>
int16_t filterAt(int at, int size, const int16_t* secondTaps, Sample sample) {
    int sum = 0;
    if (at >= 3 && at < size - 3) {
        for (int i = 0; i < 7; ++i) sum += kTaps[i] * sample(at - 3 + i);
    } else if (at < 3) {
        for (int i = 0; i < 6; ++i) sum += (at == 1 ? secondTaps : kGhostEdgeTaps[at])[i] * sample(i);
    } else {
        for (int i = 0; i < 6; ++i) sum += kGhostEdgeTaps[size - 1 - at][i] * sample(size - 1 - i);
    }
    return static_cast<int16_t>(sum >> 6);
}

}  // namespace

void GhostFilter_plain(const GhostPlanes& planes, const GhostThresholds& thresholds) {
    const uint8_t* const a = planes.a;
    const uint8_t* const b = planes.b;
    int16_t* const scratch = planes.scratch;
    const int width = planes.width;
    const int height = planes.height;
    const int64_t size = int64_t{width} * height;
    for (int y = 0; y < height; ++y) {
        const auto difference = [&](int x) {
            const int64_t i = int64_t{y} * width + x;
            return i < size ? a[i] - b[i] : 0;
        };
        for (int x = 0; x < width; ++x) {
            const int longer = ghostRowReadsOn(width) && x >= width - 3 ? 1 : 0;
            scratch[int64_t{y} * width + x] = filterAt(x + longer, width + longer, kGhostSecondColumnTaps, difference);
        }
    }
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int value =
                filterAt(y, height, kGhostEdgeTaps[1], [&](int row) { return scratch[int64_t{row} * width + x]; });
            const int64_t i = int64_t{y} * width + x;
            planes.mask[i] = std::abs(value) > (a[i] < thresholds.noise ? thresholds.low : thresholds.high) ? 255 : 0;
        }
    }
}

}  // namespace eis
