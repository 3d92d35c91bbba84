#include <algorithm>

#include "libCore/core/source/neon/mask/mask_morphology.h"

namespace eis {

ret_status MaskBinarizeDilate_r3_plain(uint8_t* mask, int width, int height, uint8_t threshold, uint8_t* scratch) {
    constexpr int kRadius = 3;
    for (int64_t i = 0; i < int64_t{width} * height; ++i) scratch[i] = mask[i] >= threshold ? 255 : 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            uint8_t any = 0;
            for (int j = std::max(y - kRadius, 0); j <= std::min(y + kRadius, height - 1); ++j) {
                for (int i = std::max(x - kRadius, 0); i <= std::min(x + kRadius, width - 1); ++i) {
                    any |= scratch[int64_t{j} * width + i];
                }
            }
            mask[int64_t{y} * width + x] = any;
        }
    }
    return retStsOK;
}

}  // namespace eis
