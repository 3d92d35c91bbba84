#include <cstdlib>

#include "highLevel/src/luma/remix_detail.h"
#include "libCore/core/source/frame/second_sweep.h"

namespace eis {

void RemixDetail_plain(const RemixDetailArgs* args) {
    const auto scale = static_cast<uint16_t>(args->centre != 0 ? 32768 / args->centre : 0);
    const int centre = args->centre & 0xFF;
    for (int y = 0; y < args->height; ++y) {
        uint8_t* luma = args->pLuma + int64_t{y} * args->stride;
        const uint8_t* denoised = args->pDenoised + int64_t{y} * args->width;
        const uint8_t* map = args->pMap + int64_t{y} * args->width;
        sweepRow<8>(args->width, [&](int first, int count) {
            for (int x = first; x < first + count; ++x) {
                const int distance = std::abs(centre - map[x]);
                const auto w = static_cast<uint16_t>((centre >= distance ? centre - distance : 0) * scale);
                const uint32_t p = uint32_t{w} * args->mixGain;
                const auto a = static_cast<uint16_t>((p >> 7) + ((p >> 6) & 1));
                const int32_t sum = denoised[x] * (32768 - a) + luma[x] * a;
                luma[x] = static_cast<uint8_t>((sum >> 15) + ((sum >> 14) & 1));
            }
        });
    }
}

}  // namespace eis
