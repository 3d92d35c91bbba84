#include "libCore/core/source/neon/ghost/ghost_filter.h"

#include <algorithm>

#define HWY_TARGET_INCLUDE "libCore/core/source/neon/ghost/ghost_filter.cpp"
#include "libCore/core/source/frame/vector_unit.h"

EIS_BEFORE_TARGET();

// Differences are at most 255 in size and the weights add up to 64 or 74: all sums stay inside 16 bits.

// Thresholds in 16 bits: no filtered difference exceeds the largest, each exceeds -1.
struct Limits {
    int16_t low, high, noise;
};

HWY_INLINE int16_t Limit(int32_t threshold) {
    return static_cast<int16_t>(std::clamp(threshold, -1, 32767));
}

// The middle sample, and the sums of those one, two and three away from it on either side.
HWY_INLINE int16_t Binomial7(int16_t middle, int beside, int second, int outer) {
    const auto sum = static_cast<int16_t>(20 * middle + 15 * beside + 6 * second + outer);
    return static_cast<int16_t>(sum >> 6);
}

HWY_INLINE uint8_t Held(int16_t value, uint8_t sample, const Limits& limits) {
    const int16_t threshold = sample < limits.noise ? limits.low : limits.high;
    const auto size = static_cast<int16_t>(value < 0 ? -value : value);
    return size > threshold ? 255 : 0;
}

void DifferenceRow(const uint8_t* HWY_RESTRICT a, const uint8_t* HWY_RESTRICT b, int16_t* HWY_RESTRICT out, int count) {
    for (int x = 0; x < count; ++x) out[x] = static_cast<int16_t>(a[x] - b[x]);
}

void FilterColumns(const int16_t* HWY_RESTRICT in, int16_t* HWY_RESTRICT out, int count) {
    for (int x = 0; x < count; ++x) {
        out[x] = Binomial7(in[x + 3], in[x + 2] + in[x + 4], in[x + 1] + in[x + 5], in[x] + in[x + 6]);
    }
}

// `next` is the difference that follows the row.
void HorizontalRow(const uint8_t* a, const uint8_t* b, int width, int next, int16_t* out) {
    constexpr int kStrip = 512;
    const int inner = width - 6;
    for (int first = 0; first < inner; first += kStrip) {
        int16_t differences[kStrip + 6];
        const int count = std::min(kStrip, inner - first);
        DifferenceRow(a + first, b + first, differences, count + 6);
        FilterColumns(differences, out + 3 + first, count);
    }
    const auto edge = [](const int16_t* taps, auto sample) {
        int sum = 0;
        for (int i = 0; i < 6; ++i) sum += taps[i] * sample(i);
        return static_cast<int16_t>(sum >> 6);
    };
    const int readsOn = ghostRowReadsOn(width) ? 1 : 0;
    const auto fromLeft = [&](int i) { return a[i] - b[i]; };
    const auto fromRight = [&](int i) {
        const int x = width - 1 + readsOn - i;
        return x < width ? a[x] - b[x] : next;
    };
    for (int i = 0; i < 3; ++i) {
        out[i] = edge(i == 1 ? kGhostSecondColumnTaps : kGhostEdgeTaps[i], fromLeft);
        out[width - 1 - i] = edge(kGhostEdgeTaps[i], fromRight);
    }
}

void InnerRow(const int16_t* const* rows, const uint8_t* HWY_RESTRICT a, uint8_t* HWY_RESTRICT mask, int width,
              const Limits& all) {
    const Limits limits = all;
    const int16_t* HWY_RESTRICT r0 = rows[0];
    const int16_t* HWY_RESTRICT r1 = rows[1];
    const int16_t* HWY_RESTRICT r2 = rows[2];
    const int16_t* HWY_RESTRICT r3 = rows[3];
    const int16_t* HWY_RESTRICT r4 = rows[4];
    const int16_t* HWY_RESTRICT r5 = rows[5];
    const int16_t* HWY_RESTRICT r6 = rows[6];
    for (int x = 0; x < width; ++x) {
        mask[x] = Held(Binomial7(r3[x], r2[x] + r4[x], r1[x] + r5[x], r0[x] + r6[x]), a[x], limits);
    }
}

void EdgeRow(const int16_t* const* rows, const int16_t* taps, const uint8_t* HWY_RESTRICT a, uint8_t* HWY_RESTRICT mask,
             int width, const Limits& limits) {
    for (int x = 0; x < width; ++x) {
        int sum = 0;
        for (int i = 0; i < 6; ++i) sum += taps[i] * rows[i][x];
        mask[x] = Held(static_cast<int16_t>(sum >> 6), a[x], limits);
    }
}

// Both passes at once: of the horizontal one, the rows that the vertical one still reads are kept.
void Filter(const GhostPlanes& planes, const GhostThresholds& thresholds) {
    const uint8_t* const a = planes.a;
    const uint8_t* const b = planes.b;
    const int width = planes.width;
    const int height = planes.height;
    const Limits limits{Limit(thresholds.low), Limit(thresholds.high), Limit(thresholds.noise)};
    constexpr int kKept = 7;
    const auto kept = [&](int y) { return planes.scratch + int64_t{y % kKept} * width; };
    int filtered = 0;
    for (int y = 0; y < height; ++y) {
        const int reach = y < 3 ? 6 : std::min(y + 4, height);
        for (; filtered < reach; ++filtered) {
            const int64_t row = int64_t{filtered} * width;
            const int next = filtered + 1 < height ? a[row + width] - b[row + width] : 0;
            HorizontalRow(a + row, b + row, width, next, kept(filtered));
        }
        const int64_t row = int64_t{y} * width;
        const int16_t* rows[kKept];
        if (y >= 3 && y < height - 3) {
            for (int i = 0; i < kKept; ++i) rows[i] = kept(y - 3 + i);
            InnerRow(rows, a + row, planes.mask + row, width, limits);
        } else {
            const bool top = y < 3;
            for (int i = 0; i < 6; ++i) rows[i] = kept(top ? i : height - 1 - i);
            EdgeRow(rows, kGhostEdgeTaps[top ? y : height - 1 - y], a + row, planes.mask + row, width, limits);
        }
    }
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(Filter);

void GhostFilter(const GhostPlanes& planes, const GhostThresholds& thresholds) {
    HWY_DYNAMIC_DISPATCH(Filter)(planes, thresholds);
}

}  // namespace eis
#endif
