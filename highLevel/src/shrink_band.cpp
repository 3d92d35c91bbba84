#include "highLevel/src/shrink_band.h"

#include "highLevel/src/second_sweep.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "highLevel/src/shrink_band.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

// Coefficients looked up in one go: look-ups and arithmetic apart, so that the arithmetic fills vectors.
constexpr int kShrinkRun = 256;

void LookUpRow(const int16_t* HWY_RESTRICT table, const int16_t* HWY_RESTRICT band, int count,
               int16_t* HWY_RESTRICT shrunk) {
    for (int x = 0; x < count; ++x) {
        const int32_t index = band[x] + 512;
        const int32_t low = index > 0 ? index : 0;
        shrunk[x] = table[low < 1023 ? low : 1023];
    }
}

// Below the limit a weight is below 1024, so that 16 bits hold it; what is computed at and above is not used.
void MixRow(const uint8_t* HWY_RESTRICT guard, const int16_t* HWY_RESTRICT shrunk, int count, uint16_t limit,
            uint16_t step, uint16_t topMix, int16_t* HWY_RESTRICT band) {
    for (int x = 0; x < count; ++x) {
        const auto weight = static_cast<uint16_t>(guard[x] * step);
        const auto own = static_cast<int16_t>(weight < topMix ? weight : topMix);
        const auto rest = static_cast<int16_t>(1024 - own);
        const int32_t sum = shrunk[x] * rest + band[x] * own + 512;
        band[x] = guard[x] < limit ? static_cast<int16_t>(sum >> 10) : band[x];
    }
}

void ShrinkRow(const ShrinkBandArgs& args, int16_t* band, const uint8_t* guard, int count) {
    int16_t shrunk[kShrinkRun];
    const auto limit = static_cast<uint16_t>(args.guardLimit < 256 ? args.guardLimit : 256);
    const auto step = static_cast<uint16_t>(1024 / args.guardLimit);
    for (int x = 0; x < count; x += kShrinkRun) {
        const int run = count - x < kShrinkRun ? count - x : kShrinkRun;
        LookUpRow(args.pShrinkLut, band + x, run, shrunk);
        MixRow(guard + x, shrunk, run, limit, step, args.topMix, band + x);
    }
}

void ShrinkBand(const ShrinkBandArgs& args) {
    // No guard lies below a limit of 0.
    if (args.guardLimit < 1) return;
    for (int64_t y = 0; y < args.height; ++y) {
        int16_t* band = args.pBand + y * args.bandStride;
        const uint8_t* guard = args.pGuard + y * args.guardStride;
        sweepRow<8>(args.width, [&](int first, int count) { ShrinkRow(args, band + first, guard + first, count); });
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(ShrinkBand);

void ShrinkDetailBand(const ShrinkBandArgs* args) {
    HWY_DYNAMIC_DISPATCH(ShrinkBand)(*args);
}

}  // namespace eis
#endif
