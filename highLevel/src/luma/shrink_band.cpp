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

// shrunk * (1024 - own) + c * own, rounded, is shrunk + (c - shrunk) * own: one rounding multiplication.
HWY_INLINE V16 Mixed(const ShrinkSettings& settings, V16 c, V16 shrunk, V16 guard) {
    const D16 d;
    const V16 weight = hn::Mul(guard, hn::Set(d, static_cast<int16_t>(32 * settings.step)));
    const V16 own = hn::Min(weight, hn::Set(d, static_cast<int16_t>(32 * settings.topMix)));
    const V16 mixed = hn::Add(shrunk, hn::MulFixedPoint15(hn::Sub(c, shrunk), own));
    return hn::IfThenElse(hn::Lt(guard, hn::Set(d, settings.limit)), mixed, c);
}

// Two vectors. Most hold noise alone, whose magnitudes the half table takes; a pair with any larger coefficient takes
// the wide form.
HWY_INLINE void ShrinkPair(const ShrinkSettings& settings, const uint8_t* guard, int16_t* band) {
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

void ShrinkRun(const ShrinkSettings& settings, const uint8_t* guard, int count, int16_t* band) {
    if (!settings.fit) {
        ShrinkWide(settings, guard, count, band);
        return;
    }
    const int whole = count - count % kRun;
    for (int x = 0; x < whole; x += kRun) ShrinkPair(settings, guard + x, band + x);
    if (whole == count) return;
    int16_t lastBand[kRun] = {};
    uint8_t lastGuard[kRun] = {};
    memcpy(lastBand, band + whole, (count - whole) * sizeof(int16_t));
    memcpy(lastGuard, guard + whole, count - whole);
    ShrinkPair(settings, lastGuard, lastBand);
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
