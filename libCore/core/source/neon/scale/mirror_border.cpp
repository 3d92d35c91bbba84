#include "libCore/core/source/neon/scale/mirror_border.h"

#include <algorithm>
#include <cstring>

namespace eis {

void MirrorBorderCopy(const uint8_t* src, int width, int height, int64_t srcPitch, uint8_t* padded, int border) {
    if (width < 1 || height < 1) return;
    const int64_t pitch = int64_t{width} + 2 * int64_t{border};
    uint8_t* first = padded + border * pitch + border;
    for (int y = 0; y < height; ++y) {
        const uint8_t* source = src + y * srcPitch;
        uint8_t* row = first + y * pitch;
        std::memcpy(row, source, width);
        for (int k = 0; k < border; ++k) {
            row[-1 - k] = source[std::min(1 + k, width - 1)];
            row[width + k] = source[std::max(width - 2 - k, 0)];
        }
    }
    const auto copyRow = [&](int to, int from) {
        std::memcpy(first + to * pitch - border, first + from * pitch - border, pitch);
    };
    for (int k = 0; k < border; ++k) {
        copyRow(-1 - k, std::min(1 + k, height - 1));
        copyRow(height + k, std::max(height - 2 - k, 0));
    }
}

}  // namespace eis
