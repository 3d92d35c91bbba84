#include "highLevel/src/luma/shrink_band.h"

#include <algorithm>
#include <cstring>

#include "libCore/core/source/frame/second_sweep.h"

#define HWY_TARGET_INCLUDE "highLevel/src/luma/shrink_band.cpp"
#include "libCore/core/source/frame/vector_unit.h"

#include "highLevel/src/luma/half_table-inl.h"

EIS_BEFORE_TARGET();

constexpr int kRun = 2 * kLanes;
constexpr int kMiddle = 512;

void SetShrink(const ShrinkBandArgs& args, ShrinkSettings& settings) {
    settings.pShrinkLut = args.pShrinkLut;
    settings.limit = static_cast<int16_t>(args.guardLimit < 256 ? args.guardLimit : 256);
    settings.step = args.guardLimit > 0 ? 1024 / args.guardLimit : 0;
    settings.topMix = args.topMix;
    settings.fit = args.guardLimit > 0 && args.topMix < 1024;
    for (int k = 0; k < kHalfTableEntries; ++k) {
        const int16_t left = args.pShrinkLut[kMiddle + k];
        settings.fit = settings.fit && left >= 0 && left <= k && args.pShrinkLut[kMiddle - k] == -left;
        settings.half.words[k] = left;
    }
    SetHalfTable(settings.half);
}

// Any coefficients and settings.
void ShrinkWide(const ShrinkSettings& settings, const uint8_t* guard, int count, int16_t* band) {
    for (int x = 0; x < count; ++x) {
        if (guard[x] >= settings.limit) continue;
        const int32_t own = HWY_MIN(guard[x] * settings.step, settings.topMix);
        const int32_t shrunk = settings.pShrinkLut[HWY_MAX(0, HWY_MIN(band[x] + kMiddle, 1023))];
        band[x] = static_cast<int16_t>((shrunk * (1024 - own) + band[x] * own + 512) >> 10);
    }
}

// Two vectors. Most hold noise alone, whose magnitudes the half table takes; a pair with any larger coefficient takes
// the wide form. shrunk * (1024 - own) + c * own, rounded, is shrunk + (c - shrunk) * own: one rounding multiplication.
#if HWY_TARGET == HWY_NEON
// Bytes until the part that is taken off is known: what a guard keeps has none.
struct PairShrinker {
    HWY_INLINE explicit PairShrinker(const ShrinkSettings& shared)
        : settings(shared),
          left(settings.half.low),
          lastShrunk(vdupq_n_u8(static_cast<uint8_t>(settings.limit - 1))),
          step(vdupq_n_s16(static_cast<int16_t>(32 * settings.step))),
          top(vdupq_n_s16(static_cast<int16_t>(32 * settings.topMix))) {}

    HWY_INLINE void operator()(const uint8_t* guard, int16_t* band) const {
        const int8x16_t c = vqmovn_high_s16(vqmovn_s16(vld1q_s16(band)), vld1q_s16(band + kLanes));
        const uint8x16_t size = vreinterpretq_u8_s8(vqabsq_s8(c));
        if (vmaxvq_u8(size) == kHalfTableEntries - 1) {
            ShrinkWide(settings, guard, kRun, band);
            return;
        }
        const int8x16_t rest = vreinterpretq_s8_u8(left.at(size, vsubq_u8(size, vdupq_n_u8(64))));
        const int8x16_t sign = vreinterpretq_s8_u8(vcltzq_s8(c));
        const uint8x16_t g = vld1q_u8(guard);
        const int8x16_t shrunk = vbslq_s8(vcgtq_u8(g, lastShrunk), c, vsubq_s8(veorq_s8(rest, sign), sign));
        const auto own = [&](uint8x8_t guards) {
            return vminq_s16(vmulq_s16(vreinterpretq_s16_u16(vmovl_u8(guards)), step), top);
        };
        const int16x8_t takenA = vsubl_s8(vget_low_s8(c), vget_low_s8(shrunk));
        const int16x8_t takenB = vsubl_high_s8(c, shrunk);
        const int16x8_t backA = vqrdmulhq_s16(takenA, own(vget_low_u8(g)));
        const int16x8_t backB = vqrdmulhq_s16(takenB, own(vget_high_u8(g)));
        vst1q_s16(band, vaddw_s8(backA, vget_low_s8(shrunk)));
        vst1q_s16(band + kLanes, vaddw_high_s8(backB, shrunk));
    }

    const ShrinkSettings& settings;
    const HalfBytes left;
    const uint8x16_t lastShrunk;
    const int16x8_t step;
    const int16x8_t top;
};
#else
HWY_INLINE V16 Mixed(const ShrinkSettings& settings, V16 c, V16 shrunk, V16 guard) {
    const D16 d;
    const V16 weight = hn::Mul(guard, hn::Set(d, static_cast<int16_t>(32 * settings.step)));
    const V16 own = hn::Min(weight, hn::Set(d, static_cast<int16_t>(32 * settings.topMix)));
    const V16 mixed = hn::Add(shrunk, hn::MulFixedPoint15(hn::Sub(c, shrunk), own));
    return hn::IfThenElse(hn::Lt(guard, hn::Set(d, settings.limit)), mixed, c);
}

struct PairShrinker {
    HWY_INLINE explicit PairShrinker(const ShrinkSettings& shared) : settings(shared) {}

    HWY_INLINE void operator()(const uint8_t* guard, int16_t* band) const {
        const D16 d;
        const hn::Rebind<uint8_t, D16> d8;
        const VectorPair c{hn::LoadU(d, band), hn::LoadU(d, band + kLanes)};
        const VectorPair size{hn::Abs(c.a), hn::Abs(c.b)};
        const V16 beyond = hn::And(hn::Or(size.a, size.b), hn::Set(d, static_cast<int16_t>(-kHalfTableEntries)));
        if (!hn::AllTrue(d, hn::Eq(beyond, hn::Zero(d)))) {
            ShrinkWide(settings, guard, kRun, band);
            return;
        }
        const VectorPair left = LookUpBytes(settings.half, size);
        const V16 guardA = hn::PromoteTo(d, hn::LoadU(d8, guard));
        const V16 guardB = hn::PromoteTo(d, hn::LoadU(d8, guard + kLanes));
        hn::StoreU(Mixed(settings, c.a, WithSignOf(c.a, left.a), guardA), d, band);
        hn::StoreU(Mixed(settings, c.b, WithSignOf(c.b, left.b), guardB), d, band + kLanes);
    }

    const ShrinkSettings& settings;
};
#endif

void ShrinkRun(const ShrinkSettings& settings, const uint8_t* guard, int count, int16_t* band) {
    if (!settings.fit) {
        ShrinkWide(settings, guard, count, band);
        return;
    }
    const int whole = count - count % kRun;
    const PairShrinker shrinkPair(settings);
    for (int x = 0; x < whole; x += kRun) shrinkPair(guard + x, band + x);
    if (whole == count) return;
    int16_t lastBand[kRun] = {};
    uint8_t lastGuard[kRun] = {};
    memcpy(lastBand, band + whole, (count - whole) * sizeof(int16_t));
    memcpy(lastGuard, guard + whole, count - whole);
    shrinkPair(lastGuard, lastBand);
    memcpy(band + whole, lastBand, (count - whole) * sizeof(int16_t));
}

void ShrinkRow(const ShrinkSettings& settings, const uint8_t* guard, int width, int16_t* band) {
    sweepRow<8>(width, [&](int first, int count) { ShrinkRun(settings, guard + first, count, band + first); });
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(SetShrink);
HWY_EXPORT(ShrinkRow);

ShrinkSettings PrepareShrink(const ShrinkBandArgs& args) {
    ShrinkSettings settings;
    HWY_DYNAMIC_DISPATCH(SetShrink)(args, settings);
    return settings;
}

void ShrinkDetailRow(const ShrinkSettings& settings, const uint8_t* guard, int width, int16_t* band) {
    HWY_DYNAMIC_DISPATCH(ShrinkRow)(settings, guard, width, band);
}

void ShrinkDetailBand(const ShrinkBandArgs* args) {
    const ShrinkSettings settings = PrepareShrink(*args);
    for (int64_t y = 0; y < args->height; ++y) {
        ShrinkDetailRow(settings, args->pGuard + y * args->guardStride, args->width,
                        args->pBand + y * args->bandStride);
    }
}

}  // namespace eis
#endif
