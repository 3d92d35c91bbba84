#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/neon/resample/resample_down.h"

namespace eis {

void DownScaleBox4x4_plain(const uint8_t* src, int height, int width, uint8_t* dst) {
    const int64_t pitch = stride128(width);
    for (int y = 0; y < height / 4; ++y) {
        for (int x = 0; x < width / 4; ++x) {
            int sum = 0;
            for (int i = 0; i < 16; ++i) sum += src[(4 * int64_t{y} + i / 4) * pitch + 4 * x + i % 4];
            dst[int64_t{y} * (width / 4) + x] = static_cast<uint8_t>((sum + 8) >> 4);
        }
    }
}

void DownScaleBox2x2_Stride_plain(const uint8_t* src, int height, int width, uint8_t* dst) {
    DownScaleBox2x2_plain(src, stride128(width), dst, width, height);
}

void DownScaleBox2x2_plain(const uint8_t* src, int srcStride, uint8_t* dst, int width, int height) {
    for (int y = 0; y < height / 2; ++y) {
        for (int x = 0; x < width / 2; ++x) {
            const uint8_t* upper = src + 2 * int64_t{y} * srcStride + 2 * x;
            const uint8_t* lower = upper + srcStride;
            const int first = (upper[0] + upper[1] + 1) >> 1;
            const int second = (lower[0] + lower[1] + 1) >> 1;
            dst[int64_t{y} * (width / 2) + x] = static_cast<uint8_t>((first + second + 1) >> 1);
        }
    }
}

}  // namespace eis
