#include <algorithm>

#include "highLevel/src/luma/shrink_band.h"
#include "libCore/core/source/frame/second_sweep.h"

namespace eis {

void ShrinkDetailBand_plain(const ShrinkBandArgs* args) {
    const int step = args->guardLimit != 0 ? 1024 / args->guardLimit : 0;
    for (int y = 0; y < args->height; ++y) {
        int16_t* band = args->pBand + int64_t{y} * args->bandStride;
        const uint8_t* guard = args->pGuard + int64_t{y} * args->guardStride;
        sweepRow<8>(args->width, [&](int first, int count) {
            for (int x = first; x < first + count; ++x) {
                if (guard[x] >= args->guardLimit) continue;
                const int c = band[x];
                const int mix = std::min({guard[x] * step, 65535, int{args->topMix}});
                const int shrunk = args->pShrinkLut[std::clamp(c + 512, 0, 1023)];
                band[x] = static_cast<int16_t>((shrunk * (1024 - mix) + c * mix + 512) >> 10);
            }
        });
    }
}

}  // namespace eis
