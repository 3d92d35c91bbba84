#include <algorithm>

#include "libCore/core/source/neon/resample/resample_up.h"

namespace eis {

namespace {

// Rows firstRow to lastRow can be read; the band's own are 0 to height - 1.
void upScaleX4(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst, int firstRow, int lastRow) {
    const auto sample = [&](int row, int column) {
        return int{src[int64_t{std::clamp(row, firstRow, lastRow)} * width + std::clamp(column, 0, width - 1)]};
    };
    for (int y = 0; y < 2 * height; ++y) {
        const int row = (y - 1) >> 1;
        const int wy = y % 2 != 0 ? 3 : 1;
        for (int x = 0; x < 2 * width; ++x) {
            const int column = (x - 1) >> 1;
            const int wx = x % 2 != 0 ? 3 : 1;
            const int sum = wy * wx * sample(row, column) + wy * (4 - wx) * sample(row, column + 1) +
                            (4 - wy) * wx * sample(row + 1, column) + (4 - wy) * (4 - wx) * sample(row + 1, column + 1);
            dst[int64_t{y} * dstStride + x] = static_cast<uint8_t>((sum + 8) >> 4);
        }
    }
}

int step(int a, int b, int k) {
    return ((4 - k) * a + k * b) >> 2;
}

// A line of count samples, 4 * count long in the destination; what is behind 4 * (count - 1) repeats that place, for
// `repeats` places.
void edgeLine(const uint8_t* src, int64_t srcStep, int count, uint8_t* dst, int64_t dstStep, int repeats) {
    for (int i = 0; i < count; ++i) dst[4 * i * dstStep] = src[i * srcStep];
    for (int i = 0; i + 1 < count; ++i) {
        for (int k = 1; k < 4; ++k) {
            dst[(4 * i + k) * dstStep] = static_cast<uint8_t>(step(src[i * srcStep], src[(i + 1) * srcStep], k));
        }
    }
    const int last = 4 * (count - 1);
    for (int k = 1; k <= repeats; ++k) dst[(last + k) * dstStep] = dst[last * dstStep];
}

void copyLine(const uint8_t* src, uint8_t* dst, int64_t dstStep, int count) {
    for (int i = 0; i < count; ++i) dst[i * dstStep] = src[i * dstStep];
}

}  // namespace

void UpScaleX4_plain(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst) {
    upScaleX4(src, height, width, dstStride, dst, 0, height - 1);
}

void UpScaleX4_TopBand_plain(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst) {
    upScaleX4(src, height, width, dstStride, dst, 0, height);
}

void UpScaleX4_MidBand_plain(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst) {
    upScaleX4(src, height, width, dstStride, dst, -1, height);
}

void UpScaleX4_BottomBand_plain(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst) {
    upScaleX4(src, height, width, dstStride, dst, -1, height - 1);
}

void UpScaleX16_plain(const uint8_t* src, int height, int width, uint8_t* dst) {
    if (height < 1 || width < 1) return;
    const int64_t pitch = 4 * int64_t{width};
    const int rows = 4 * height;
    const int columns = 4 * width;
    const uint8_t* lastRow = src + int64_t{height - 1} * width;
    // Each strip overwrites the ones before it where they cross.
    edgeLine(src, width, height, dst, pitch, 1);
    copyLine(dst, dst + 1, pitch, rows);
    edgeLine(src, 1, width, dst, 1, 1);
    copyLine(dst, dst + pitch, 1, columns);
    edgeLine(lastRow, 1, width, dst + (rows - 2) * pitch, 1, 1);
    copyLine(dst + (rows - 2) * pitch, dst + (rows - 1) * pitch, 1, columns);
    edgeLine(src + width - 1, width, height, dst + columns - 2, pitch, 3);
    copyLine(dst + columns - 2, dst + columns - 1, pitch, rows);

    for (int y = 2; y < rows - 2; ++y) {
        const uint8_t* upper = src + int64_t{(y - 2) / 4} * width;
        const uint8_t* lower = upper + width;
        const int py = 7 - 2 * ((y - 2) % 4);
        for (int x = 2; x < columns - 2; ++x) {
            const int j = (x - 2) / 4;
            const int px = 7 - 2 * ((x - 2) % 4);
            const int sum = py * px * upper[j] + py * (8 - px) * upper[j + 1] + (8 - py) * px * lower[j] +
                            (8 - py) * (8 - px) * lower[j + 1];
            dst[y * pitch + x] = static_cast<uint8_t>((sum + 32) >> 6);
        }
    }
}

}  // namespace eis
