#include <algorithm>

#include "libCore/core/source/neon/resample/resample_up.h"

namespace eis {

namespace {

// The rows that can be read; the band's own are 0 to height - 1.
struct Rows {
    int first, last;
};

void upScaleX4(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst, Rows rows) {
    const auto sample = [&](int row, int column) {
        return int{src[int64_t{std::clamp(row, rows.first, rows.last)} * width + std::clamp(column, 0, width - 1)]};
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

// Sample k, 0 to 3, of the four that follow a; they truncate.
uint8_t step(int a, int b, int k) {
    return static_cast<uint8_t>(((4 - k) * a + k * b) >> 2);
}

}  // namespace

void UpScaleX4_plain(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst) {
    upScaleX4(src, height, width, dstStride, dst, {0, height - 1});
}

void UpScaleX4_TopBand_plain(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst) {
    upScaleX4(src, height, width, dstStride, dst, {0, height});
}

void UpScaleX4_MidBand_plain(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst) {
    upScaleX4(src, height, width, dstStride, dst, {-1, height});
}

void UpScaleX4_BottomBand_plain(const uint8_t* src, int height, int width, int dstStride, uint8_t* dst) {
    upScaleX4(src, height, width, dstStride, dst, {-1, height - 1});
}

void UpScaleX16Row_plain(const uint8_t* src, int height, int width, int row, uint8_t* dst) {
    const auto sample = [&](int y, int x) { return int{src[int64_t{std::min(y, height - 1)} * width + x]}; };
    const bool outermost = row < 2 || row >= 4 * height - 2;
    const int line = row < 2 ? 0 : height - 1;
    const int py = 7 - 2 * ((row - 2) % 4);
    for (int x = 0; x < 4 * width; ++x) {
        const int column = x / 4;
        if (x >= 4 * width - 2) {
            dst[x] = step(sample(row / 4, width - 1), sample(row / 4 + 1, width - 1), row % 4);
        } else if (outermost) {
            dst[x] = step(sample(line, column), sample(line, std::min(column + 1, width - 1)), x % 4);
        } else if (x < 2) {
            dst[x] = step(sample(row / 4, 0), sample(row / 4 + 1, 0), row % 4);
        } else {
            const int y = (row - 2) / 4;
            const int j = (x - 2) / 4;
            const int px = 7 - 2 * ((x - 2) % 4);
            const int sum = py * px * sample(y, j) + py * (8 - px) * sample(y, j + 1) +
                            (8 - py) * px * sample(y + 1, j) + (8 - py) * (8 - px) * sample(y + 1, j + 1);
            dst[x] = static_cast<uint8_t>((sum + 32) >> 6);
        }
    }
}

}  // namespace eis
