#include "highLevel/src/lifting53.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "highLevel/src/lifting53.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

// Floors of a half and a quarter of the exact sum, within 16 bits. Halves of twice the same are what the first and the
// last pair of a line want, so they are no case of their own.
HWY_INLINE int16_t HalfSum(int16_t a, int16_t b) {
    return static_cast<int16_t>((a & b) + ((a ^ b) >> 1));
}
HWY_INLINE int16_t QuarterSum(int16_t a, int16_t b) {
    return static_cast<int16_t>(HalfSum(a, b) >> 1);
}

// The vertical steps, a row at a time: x0, x1, x2 are three rows in a line, d0 and d1 those of the pair before and of
// this one.
void DetailRow(const int16_t* HWY_RESTRICT x0, const int16_t* HWY_RESTRICT x1, const int16_t* HWY_RESTRICT x2,
               int count, int16_t* HWY_RESTRICT d) {
    for (int x = 0; x < count; ++x) d[x] = static_cast<int16_t>(x1[x] - HalfSum(x0[x], x2[x]));
}

void SmoothRow(const int16_t* HWY_RESTRICT x0, const int16_t* HWY_RESTRICT d0, const int16_t* HWY_RESTRICT d1,
               int count, int16_t* HWY_RESTRICT s) {
    for (int x = 0; x < count; ++x) s[x] = static_cast<int16_t>(x0[x] + QuarterSum(d0[x], d1[x]));
}

void UndoSmoothRow(const int16_t* HWY_RESTRICT s, const int16_t* HWY_RESTRICT d0, const int16_t* HWY_RESTRICT d1,
                   int count, int16_t* HWY_RESTRICT x0) {
    for (int x = 0; x < count; ++x) x0[x] = static_cast<int16_t>(s[x] - QuarterSum(d0[x], d1[x]));
}

void UndoDetailRow(const int16_t* HWY_RESTRICT d, const int16_t* HWY_RESTRICT x0, const int16_t* HWY_RESTRICT x2,
                   int count, int16_t* HWY_RESTRICT x1) {
    for (int x = 0; x < count; ++x) x1[x] = static_cast<int16_t>(d[x] + HalfSum(x0[x], x2[x]));
}

// The horizontal steps of a row of 2n samples.
void SplitRow(const int16_t* HWY_RESTRICT x, int n, int16_t* HWY_RESTRICT s, int16_t* HWY_RESTRICT d) {
    for (int i = 0; i < n - 1; ++i) d[i] = static_cast<int16_t>(x[2 * i + 1] - HalfSum(x[2 * i], x[2 * i + 2]));
    d[n - 1] = static_cast<int16_t>(x[2 * n - 1] - x[2 * n - 2]);
    s[0] = static_cast<int16_t>(x[0] + (d[0] >> 1));
    for (int i = 1; i < n; ++i) s[i] = static_cast<int16_t>(x[2 * i] + QuarterSum(d[i - 1], d[i]));
}

// Leaves the even samples in place of s.
void JoinRow(int16_t* HWY_RESTRICT s, const int16_t* HWY_RESTRICT d, int n, int16_t* HWY_RESTRICT x) {
    s[0] = static_cast<int16_t>(s[0] - (d[0] >> 1));
    for (int i = 1; i < n; ++i) s[i] = static_cast<int16_t>(s[i] - QuarterSum(d[i - 1], d[i]));
    for (int i = 0; i < n - 1; ++i) {
        x[2 * i] = s[i];
        x[2 * i + 1] = static_cast<int16_t>(d[i] + HalfSum(s[i], s[i + 1]));
    }
    x[2 * n - 2] = s[n - 1];
    x[2 * n - 1] = static_cast<int16_t>(d[n - 1] + s[n - 1]);
}

void LiftForward(int16_t* plane, int width, int height, int64_t stride, int16_t* tmp) {
    const int columns = width / 2;
    const int rows = height / 2;
    if (columns < 2 || rows < 2) return;
    for (int i = 0; i < rows; ++i) {
        const int16_t* even = plane + 2 * i * stride;
        int16_t* s = tmp + int64_t{i} * width;
        int16_t* d = s + int64_t{rows} * width;
        DetailRow(even, even + stride, i < rows - 1 ? even + 2 * stride : even, 2 * columns, d);
        SmoothRow(even, i > 0 ? d - width : d, d, 2 * columns, s);
    }
    for (int y = 0; y < 2 * rows; ++y) {
        SplitRow(tmp + int64_t{y} * width, columns, plane + y * stride, plane + y * stride + columns);
    }
}

void LiftInverse(int16_t* plane, int width, int height, int64_t stride, int16_t* tmp) {
    const int columns = width / 2;
    const int rows = height / 2;
    if (columns < 2 || rows < 2) return;
    for (int y = 0; y < 2 * rows; ++y) {
        JoinRow(plane + y * stride, plane + y * stride + columns, columns, tmp + int64_t{y} * width);
    }
    const int16_t* low = tmp;
    const int16_t* high = tmp + int64_t{rows} * width;
    int16_t* even = plane;
    for (int i = 0; i < rows; ++i) {
        UndoSmoothRow(low, i > 0 ? high - width : high, high, 2 * columns, even);
        if (i > 0) UndoDetailRow(high - width, even - 2 * stride, even, 2 * columns, even - stride);
        if (i == rows - 1) break;
        low += width;
        high += width;
        even += 2 * stride;
    }
    UndoDetailRow(high, even, even, 2 * columns, even + stride);
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(LiftForward);
HWY_EXPORT(LiftInverse);

void Lifting53Forward(int16_t* pPlane, int width, int height, int stride, int16_t* pTmp) {
    HWY_DYNAMIC_DISPATCH(LiftForward)(pPlane, width, height, stride, pTmp);
}

void Lifting53Inverse(int16_t* pPlane, int width, int height, int stride, int16_t* pTmp) {
    HWY_DYNAMIC_DISPATCH(LiftInverse)(pPlane, width, height, stride, pTmp);
}

}  // namespace eis
#endif
