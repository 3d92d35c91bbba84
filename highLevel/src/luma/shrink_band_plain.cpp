#include <algorithm>

#include "highLevel/src/luma/shrink_band.h"
#include "libCore/core/source/frame/second_sweep.h"

namespace eis {

void ShrinkDetailRow_plain(const ShrinkSettings& settings, const uint8_t* guard, int width, int16_t* band) {
    sweepRow<8>(width, [&](int first, int count) {
        for (int x = first; x < first + count; ++x) {
            if (guard[x] >= settings.limit) continue;
            const int c = band[x];
            const int mix = std::min(guard[x] * settings.step, settings.topMix);
            const int shrunk = settings.pShrinkLut[std::clamp(c + 512, 0, 1023)];
            band[x] = static_cast<int16_t>((shrunk * (1024 - mix) + c * mix + 512) >> 10);
        }
    });
}

}  // namespace eis
