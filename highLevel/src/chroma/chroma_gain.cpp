#include "highLevel/src/chroma/chroma_gain.h"

#include "libCore/core/source/frame/second_sweep.h"

#define HWY_TARGET_INCLUDE "highLevel/src/chroma/chroma_gain.cpp"
#include "libCore/core/source/frame/vector_unit.h"

EIS_BEFORE_TARGET();

// Columns whose gains are looked up in one go, so that they stay on the stack.
constexpr int kStrip = 1024;

void BlendRow(const uint8_t* HWY_RESTRICT first, uint8_t* HWY_RESTRICT denoised, const uint8_t* HWY_RESTRICT mask,
              uint8_t alpha, int count) {
    const auto rest = static_cast<uint8_t>(255 - alpha);
    for (int x = 0; x < count; ++x) {
        const auto t = static_cast<uint16_t>(denoised[x] * alpha + first[x] * rest);
        const auto blended = static_cast<uint8_t>((t >> 8) + ((t >> 7) & 1));
        denoised[x] = mask[x] == 255 ? blended : denoised[x];
    }
}

void EdgeBlend(const EdgeBlendArgs& args) {
    for (int y = 0; y < args.height; ++y) {
        const int64_t row = int64_t{y} * args.width;
        sweepRow<8>(args.width, [&](int first, int count) {
            const int64_t i = row + first;
            BlendRow(args.pFirstU + i, args.pDnU + i, args.pMask + i, args.alpha, count);
            BlendRow(args.pFirstV + i, args.pDnV + i, args.pMask + i, args.alpha, count);
        });
    }
}

HWY_INLINE uint8_t Distance(uint8_t sample) {
    return static_cast<uint8_t>(sample > 128 ? sample - 128 : 128 - sample);
}

// The sample whose gain both take.
void KeyRow(const uint8_t* HWY_RESTRICT u, const uint8_t* HWY_RESTRICT v, uint8_t* HWY_RESTRICT keys, int count) {
    for (int x = 0; x < count; ++x) keys[x] = Distance(u[x]) > Distance(v[x]) ? u[x] : v[x];
}

void LookUpRow(const int16_t* HWY_RESTRICT table, const uint8_t* HWY_RESTRICT keys, int16_t* HWY_RESTRICT gains,
               int count) {
    for (int x = 0; x < count; ++x) gains[x] = table[keys[x]];
}

// 16 bits throughout: at the largest gain, 243, a product stays within 128 * 243 + 64.
HWY_INLINE int16_t Gained(uint8_t sample, int16_t gain) {
    const auto product = static_cast<int16_t>((sample - 128) * gain + 64);
    return static_cast<int16_t>(128 + (product >> 7));
}

void GainRow(const int16_t* HWY_RESTRICT gains, uint8_t* HWY_RESTRICT samples, int count) {
    for (int x = 0; x < count; ++x) {
        const int16_t value = Gained(samples[x], gains[x]);
        const auto positive = static_cast<int16_t>(value < 0 ? 0 : value);
        samples[x] = static_cast<uint8_t>(positive > 255 ? 255 : positive);
    }
}

void GainRowWrapping(const int16_t* HWY_RESTRICT gains, uint8_t* HWY_RESTRICT samples, int count) {
    for (int x = 0; x < count; ++x) samples[x] = static_cast<uint8_t>(Gained(samples[x], gains[x]));
}

void Gain(uint8_t* u, uint8_t* v, int width, int height, const int16_t* table) {
    uint8_t keys[kStrip];
    int16_t gains[kStrip];
    const int whole = width & ~7;
    for (int64_t row = 0; row < int64_t{width} * height; row += width) {
        for (int x = 0; x < width; x += kStrip) {
            const int64_t i = row + x;
            const int count = width - x < kStrip ? width - x : kStrip;
            const int block = whole - x < kStrip ? whole - x : kStrip;
            KeyRow(u + i, v + i, keys, count);
            LookUpRow(table, keys, gains, count);
            for (uint8_t* samples : {u + i, v + i}) {
                GainRow(gains, samples, block);
                GainRowWrapping(gains + block, samples + block, count - block);
            }
        }
    }
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(EdgeBlend);
HWY_EXPORT(Gain);

void EdgeBlendChroma(const EdgeBlendArgs* args) {
    HWY_DYNAMIC_DISPATCH(EdgeBlend)(*args);
}

void ChromaGainLut(uint8_t* pU, uint8_t* pV, int width, int height, int index) {
    if (index < 1 || index > 9) return;
    HWY_DYNAMIC_DISPATCH(Gain)(pU, pV, width, height, chromaGainTables[index - 1]);
}

}  // namespace eis
#endif
