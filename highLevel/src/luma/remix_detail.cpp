#include "highLevel/src/luma/remix_detail.h"

#include <cstring>

#include "libCore/core/source/frame/second_sweep.h"

#define HWY_TARGET_INCLUDE "highLevel/src/luma/remix_detail.cpp"
#include "libCore/core/source/frame/vector_unit.h"

EIS_BEFORE_TARGET();

using D8 = hn::CappedTag<uint8_t, 64>;
using V8 = hn::Vec<D8>;
using D16 = hn::Repartition<int16_t, D8>;
using V16 = hn::Vec<D16>;
constexpr int kBytes = hn::MaxLanes(D8());

// Bytes of even and odd places apart, so that none changes its lane.
HWY_INLINE V16 Even(V8 bytes) {
    return hn::And(hn::BitCast(D16(), bytes), hn::Set(D16(), 0xFF));
}
HWY_INLINE V16 Odd(V8 bytes) {
    const hn::RebindToUnsigned<D16> u;
    return hn::BitCast(D16(), hn::ShiftRight<8>(hn::BitCast(u, bytes)));
}

struct Share {
    uint8_t centre;
    int16_t scale;
    int16_t gain;  // in 1/32768; negative for all of the weight
};

// The denoised sample plus the input's share of the difference, as one rounding multiplication.
HWY_INLINE V16 Mixed(const Share& share, V16 denoised, V16 luma, V16 near) {
    const D16 d;
    V16 part = hn::Mul(near, hn::Set(d, share.scale));
    if (share.gain >= 0) part = hn::MulFixedPoint15(part, hn::Set(d, share.gain));
    return hn::Add(denoised, hn::MulFixedPoint15(hn::Sub(luma, denoised), part));
}

HWY_INLINE void RemixVector(const Share& share, const uint8_t* denoised, const uint8_t* map, uint8_t* luma) {
    const D8 d;
    const V8 centre = hn::Set(d, share.centre);
    const V8 m = hn::LoadU(d, map);
    const V8 distance = hn::Or(hn::SaturatedSub(centre, m), hn::SaturatedSub(m, centre));
    const V8 near = hn::SaturatedSub(centre, distance);
    const V8 n = hn::LoadU(d, denoised);
    const V8 o = hn::LoadU(d, luma);
    const V16 even = Mixed(share, Even(n), Even(o), Even(near));
    const V16 odd = Mixed(share, Odd(n), Odd(o), Odd(near));
    hn::StoreU(hn::BitCast(d, hn::Or(even, hn::ShiftLeft<8>(odd))), d, luma);
}

void RemixRun(const Share& share, const uint8_t* denoised, const uint8_t* map, int count, uint8_t* luma) {
    const int whole = count - count % kBytes;
    for (int x = 0; x < whole; x += kBytes) RemixVector(share, denoised + x, map + x, luma + x);
    if (whole == count) return;
    uint8_t last[3][kBytes] = {};
    memcpy(last[0], denoised + whole, count - whole);
    memcpy(last[1], map + whole, count - whole);
    memcpy(last[2], luma + whole, count - whole);
    RemixVector(share, last[0], last[1], last[2]);
    memcpy(luma + whole, last[2], count - whole);
}

// For settings whose shares stay below 1 in Q15, as all of the passes' do.
void RemixPlane(const RemixDetailArgs& args) {
    const int scale = 32768 / args.centre;
    const Share share{static_cast<uint8_t>(args.centre), static_cast<int16_t>(scale),
                      static_cast<int16_t>(args.mixGain < 128 ? 256 * args.mixGain : -1)};
    for (int64_t y = 0; y < args.height; ++y) {
        uint8_t* luma = args.pLuma + y * args.stride;
        const uint8_t* denoised = args.pDenoised + y * args.width;
        const uint8_t* map = args.pMap + y * args.width;
        sweepRow<8>(args.width,
                    [&](int first, int count) { RemixRun(share, denoised + first, map + first, count, luma + first); });
    }
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(RemixPlane);

void RemixDetail(const RemixDetailArgs* args) {
    const bool narrow = args->centre > 1 && args->centre < 256 && 32768 % args->centre != 0 && args->mixGain <= 128;
    if (narrow) {
        HWY_DYNAMIC_DISPATCH(RemixPlane)(*args);
    } else {
        RemixDetail_plain(args);
    }
}

}  // namespace eis
#endif
