#include <algorithm>

#include "highLevel/src/luma/lifting53.h"

namespace eis {

namespace {

// Every `step`-th sample from `first` on.
template <class Sample>
struct Line {
    Sample* first;
    int64_t step;

    int operator[](int i) const { return first[i * step]; }
    void set(int i, int value) const { first[i * step] = static_cast<int16_t>(value); }
};

// x holds 2n samples; s and d take n each.
void splitLine(Line<const int16_t> x, int n, Line<int16_t> s, Line<int16_t> d) {
    for (int i = 0; i < n; ++i) {
        const bool last = i == n - 1;
        d.set(i, x[2 * i + 1] - (last ? x[2 * i] : (x[2 * i] + x[2 * i + 2]) >> 1));
        s.set(i, x[2 * i] + (i == 0 ? d[0] >> 1 : (d[i - 1] + d[i]) >> 2));
    }
}

void joinLine(Line<const int16_t> s, Line<const int16_t> d, int n, Line<int16_t> x) {
    x.set(0, s[0] - (d[0] >> 1));
    for (int i = 1; i < n; ++i) {
        x.set(2 * i, s[i] - ((d[i - 1] + d[i]) >> 2));
        x.set(2 * i - 1, d[i - 1] + ((x[2 * i - 2] + x[2 * i]) >> 1));
    }
    x.set(2 * n - 1, d[n - 1] + x[2 * n - 2]);
}

}  // namespace

void Lifting53Forward(int16_t* pPlane, int width, int height, int stride, int16_t* pTmp) {
    const int columns = width / 2;
    const int rows = height / 2;
    if (columns < 2 || rows < 2) return;
    for (int x = 0; x < 2 * columns; ++x) {
        splitLine({pPlane + x, stride}, rows, {pTmp + x, width}, {pTmp + int64_t{rows} * width + x, width});
    }
    for (int y = 0; y < 2 * rows; ++y) {
        int16_t* row = pPlane + int64_t{y} * stride;
        splitLine({pTmp + int64_t{y} * width, 1}, columns, {row, 1}, {row + columns, 1});
    }
}

void Lifting53Inverse(int16_t* pPlane, int width, int height, int stride, int16_t* pTmp) {
    const int columns = width / 2;
    const int rows = height / 2;
    if (columns < 2 || rows < 2) return;
    for (int y = 0; y < 2 * rows; ++y) {
        int16_t* row = pPlane + int64_t{y} * stride;
        joinLine({row, 1}, {row + columns, 1}, columns, {pTmp + int64_t{y} * width, 1});
    }
    for (int x = 0; x < 2 * columns; ++x) {
        joinLine({pTmp + x, width}, {pTmp + int64_t{rows} * width + x, width}, rows, {pPlane + x, stride});
    }
}

void LiftDetailRow_plain(const uint8_t* x0, const uint8_t* x1, const uint8_t* x2, int64_t /*ahead*/, int count,
                         int16_t* d) {
    for (int x = 0; x < count; ++x) d[x] = static_cast<int16_t>(x1[x] - ((x0[x] + x2[x]) >> 1));
}

void LiftSmoothRow_plain(const uint8_t* x0, const int16_t* dBefore, const int16_t* d, int count, int16_t* s) {
    for (int x = 0; x < count; ++x) s[x] = static_cast<int16_t>(x0[x] + ((dBefore[x] + d[x]) >> 2));
}

void UnliftSmoothRow_plain(const int16_t* s, const int16_t* dBefore, const int16_t* d, int count, int16_t* x0) {
    for (int x = 0; x < count; ++x) x0[x] = static_cast<int16_t>(s[x] - ((dBefore[x] + d[x]) >> 2));
}

void UnliftDetailRow_plain(const int16_t* d, const int16_t* x0, const int16_t* x2, int count, uint8_t* x1) {
    for (int x = 0; x < count; ++x) {
        const auto sample = static_cast<int16_t>(d[x] + ((x0[x] + x2[x]) >> 1));
        x1[x] = static_cast<uint8_t>(std::clamp<int16_t>(sample, 0, 255));
    }
}

void SplitRow_plain(const int16_t* x, int n, int16_t* s, int16_t* d) {
    splitLine({x, 1}, n, {s, 1}, {d, 1});
}

void JoinRow_plain(const int16_t* s, const int16_t* d, int n, int16_t* x) {
    joinLine({s, 1}, {d, 1}, n, {x, 1});
}

}  // namespace eis
