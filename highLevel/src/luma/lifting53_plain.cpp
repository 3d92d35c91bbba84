#include "highLevel/src/luma/lifting53.h"

namespace eis {

namespace {

// Every `step`-th sample from `first` on.
struct Line {
    int16_t* first;
    int64_t step;

    int operator[](int i) const { return first[i * step]; }
    void set(int i, int value) const { first[i * step] = static_cast<int16_t>(value); }
};

// x holds 2n samples; s and d take n each.
void splitLine(Line x, int n, Line s, Line d) {
    for (int i = 0; i < n; ++i) {
        const bool last = i == n - 1;
        d.set(i, x[2 * i + 1] - (last ? x[2 * i] : (x[2 * i] + x[2 * i + 2]) >> 1));
        s.set(i, x[2 * i] + (i == 0 ? d[0] >> 1 : (d[i - 1] + d[i]) >> 2));
    }
}

void joinLine(Line s, Line d, int n, Line x) {
    x.set(0, s[0] - (d[0] >> 1));
    for (int i = 1; i < n; ++i) {
        x.set(2 * i, s[i] - ((d[i - 1] + d[i]) >> 2));
        x.set(2 * i - 1, d[i - 1] + ((x[2 * i - 2] + x[2 * i]) >> 1));
    }
    x.set(2 * n - 1, d[n - 1] + x[2 * n - 2]);
}

}  // namespace

void Lifting53Forward_plain(int16_t* pPlane, int width, int height, int stride, int16_t* pTmp) {
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

void Lifting53Inverse_plain(int16_t* pPlane, int width, int height, int stride, int16_t* pTmp) {
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

}  // namespace eis
