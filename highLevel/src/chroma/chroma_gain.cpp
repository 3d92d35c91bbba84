#include "highLevel/src/chroma/chroma_gain.h"

#include <cstdlib>

#include "libCore/core/source/frame/second_sweep.h"

#define HWY_TARGET_INCLUDE "highLevel/src/chroma/chroma_gain.cpp"
#include "libCore/core/source/frame/vector_unit.h"

#include "libCore/core/source/frame/vector_ops-inl.h"

EIS_BEFORE_TARGET();

// Columns whose gains are looked up in one go, so that they stay on the stack.
constexpr int kStrip = 1024;

using D8 = HWY_CAPPED(uint8_t, 32);
using V8 = hn::Vec<D8>;

void BlendRow(const uint8_t* HWY_RESTRICT first, uint8_t* denoised, const uint8_t* HWY_RESTRICT mask, uint8_t alpha,
              int count) {
    const auto rest = static_cast<uint8_t>(255 - alpha);
    const D8 d;
    ChangeRow(
        d, count, denoised,
        [&](int x) HWY_ATTR {
            const V8 own = hn::LoadU(d, denoised + x);
            const V8 blended = RoundedUpperBytes(Weighted(own, alpha, hn::LoadU(d, first + x), rest));
            return hn::IfThenElse(hn::Eq(hn::LoadU(d, mask + x), hn::Set(d, 255)), blended, own);
        },
        [&](int x) {
            const int blended = (denoised[x] * alpha + first[x] * rest + 128) >> 8;
            return static_cast<uint8_t>(mask[x] == 255 ? blended : denoised[x]);
        });
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

// The sample whose gain both take.
void KeyRow(const uint8_t* HWY_RESTRICT u, const uint8_t* HWY_RESTRICT v, uint8_t* HWY_RESTRICT keys, int count) {
    const D8 d;
    const V8 grey = hn::Set(d, 128);
    FillRow(
        d, count, keys,
        [&](int x) HWY_ATTR {
            const V8 ofU = hn::LoadU(d, u + x);
            const V8 ofV = hn::LoadU(d, v + x);
            const V8 awayV = Distance(ofV, grey);
            return hn::IfThenElse(hn::Eq(hn::Max(Distance(ofU, grey), awayV), awayV), ofV, ofU);
        },
        [&](int x) { return std::abs(u[x] - 128) > std::abs(v[x] - 128) ? u[x] : v[x]; });
}

// 16 bits throughout: at the largest gain, 243, a product stays within 128 * 243 + 64.
HWY_INLINE int16_t Gained(uint8_t sample, uint8_t gain) {
    const auto product = static_cast<int16_t>((sample - 128) * gain + 64);
    return static_cast<int16_t>(128 + (product >> 7));
}

void GainRow(const uint8_t* HWY_RESTRICT gains, uint8_t* samples, int count) {
    const D8 d;
    const hn::Repartition<int16_t, D8> d16;
    const auto gained = [&](auto difference, auto gain) HWY_ATTR {
        const auto product = hn::Add(hn::Mul(difference, hn::BitCast(d16, gain)), hn::Set(d16, 64));
        return hn::Add(hn::ShiftRight<7>(product), hn::Set(d16, 128));
    };
    ChangeRow(
        d, count, samples,
        [&](int x) HWY_ATTR {
            const auto differences = Differences(hn::LoadU(d, samples + x), hn::Set(d, 128));
            const auto words = SplitBytes(hn::LoadU(d, gains + x));
            return JoinSaturated(WordPair{gained(differences.a, words.a), gained(differences.b, words.b)});
        },
        [&](int x) {
            const int16_t value = Gained(samples[x], gains[x]);
            const auto positive = static_cast<int16_t>(value < 0 ? 0 : value);
            return static_cast<uint8_t>(positive > 255 ? 255 : positive);
        });
}

void GainRowWrapping(const uint8_t* HWY_RESTRICT gains, uint8_t* HWY_RESTRICT samples, int count) {
    for (int x = 0; x < count; ++x) samples[x] = static_cast<uint8_t>(Gained(samples[x], gains[x]));
}

void Gain(uint8_t* u, uint8_t* v, int width, int height, const int16_t* table) {
    uint8_t bytes[256];
    for (int i = 0; i < 256; ++i) bytes[i] = static_cast<uint8_t>(table[i]);
    uint8_t keys[kStrip];
    const int whole = width & ~7;
    for (int64_t row = 0; row < int64_t{width} * height; row += width) {
        for (int x = 0; x < width; x += kStrip) {
            const int64_t i = row + x;
            const int count = width - x < kStrip ? width - x : kStrip;
            const int block = whole - x < kStrip ? whole - x : kStrip;
            KeyRow(u + i, v + i, keys, count);
            MapBytes(bytes, keys, count, keys);
            for (uint8_t* samples : {u + i, v + i}) {
                GainRow(keys, samples, block);
                GainRowWrapping(keys + block, samples + block, count - block);
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
