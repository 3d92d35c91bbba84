#include <algorithm>
#include <cstdlib>

#include "highLevel/src/chroma/chroma_gain.h"
#include "libCore/core/source/frame/second_sweep.h"

namespace eis {

namespace {

uint8_t blend(uint8_t denoised, uint8_t first, uint8_t alpha) {
    const int t = denoised * alpha + first * (255 - alpha);
    return static_cast<uint8_t>((t >> 8) + ((t >> 7) & 1));
}

int gained(uint8_t sample, int gain) {
    return 128 + (static_cast<int16_t>((sample - 128) * gain + 64) >> 7);
}

}  // namespace

void EdgeBlendChroma_plain(const EdgeBlendArgs* args) {
    for (int y = 0; y < args->height; ++y) {
        const int64_t row = int64_t{y} * args->width;
        sweepRow<8>(args->width, [&](int first, int count) {
            for (int64_t i = row + first; i < row + first + count; ++i) {
                if (args->pMask[i] != 255) continue;
                args->pDnU[i] = blend(args->pDnU[i], args->pFirstU[i], args->alpha);
                args->pDnV[i] = blend(args->pDnV[i], args->pFirstV[i], args->alpha);
            }
        });
    }
}

void ChromaGainLut_plain(uint8_t* pU, uint8_t* pV, int width, int height, int index) {
    if (index < 1 || index > 9) return;
    const int16_t* table = chromaGainTables[index - 1];
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            uint8_t& u = pU[int64_t{y} * width + x];
            uint8_t& v = pV[int64_t{y} * width + x];
            const int gain = table[std::abs(u - 128) > std::abs(v - 128) ? u : v];
            const bool saturates = x < (width & ~7);
            const auto store = [saturates](int value) {
                return static_cast<uint8_t>(saturates ? std::clamp(value, 0, 255) : value);
            };
            u = store(gained(u, gain));
            v = store(gained(v, gain));
        }
    }
}

}  // namespace eis
