#include "highLevel/src/remix_detail.h"

#include "highLevel/src/second_sweep.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "highLevel/src/remix_detail.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

void RemixRun(uint8_t* HWY_RESTRICT luma, const uint8_t* HWY_RESTRICT denoised, const uint8_t* HWY_RESTRICT map,
              int count, uint8_t centre, uint16_t scale, uint16_t gain) {
    for (int x = 0; x < count; ++x) {
        const auto distance = static_cast<uint8_t>(centre > map[x] ? centre - map[x] : map[x] - centre);
        const auto near = static_cast<uint8_t>(centre > distance ? centre - distance : 0);
        const auto weight = static_cast<uint16_t>(near * scale);
        const auto share = static_cast<uint16_t>((uint32_t{weight} * gain + 64) >> 7);
        const int32_t sum = denoised[x] * (32768 - share) + luma[x] * share + 16384;
        luma[x] = static_cast<uint8_t>(sum >> 15);
    }
}

void RemixPlane(const RemixDetailArgs& args) {
    const auto scale = static_cast<uint16_t>(args.centre != 0 ? 32768 / args.centre : 0);
    for (int64_t y = 0; y < args.height; ++y) {
        uint8_t* luma = args.pLuma + y * args.stride;
        const uint8_t* denoised = args.pDenoised + y * args.width;
        const uint8_t* map = args.pMap + y * args.width;
        sweepRow<8>(args.width, [&](int first, int count) {
            RemixRun(luma + first, denoised + first, map + first, count, static_cast<uint8_t>(args.centre), scale,
                     args.mixGain);
        });
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(RemixPlane);

void RemixDetail(const RemixDetailArgs* args) {
    HWY_DYNAMIC_DISPATCH(RemixPlane)(*args);
}

}  // namespace eis
#endif
