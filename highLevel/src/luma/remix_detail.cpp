#include "highLevel/src/luma/remix_detail.h"

#include <cstring>

#include "libCore/core/source/frame/second_sweep.h"

#define HWY_TARGET_INCLUDE "highLevel/src/luma/remix_detail.cpp"
#include "libCore/core/source/frame/vector_unit.h"

#include "libCore/core/source/frame/vector_ops-inl.h"

EIS_BEFORE_TARGET();

using D8 = hn::CappedTag<uint8_t, 64>;
using V8 = hn::Vec<D8>;
using D16 = hn::Repartition<int16_t, D8>;
using V16 = hn::Vec<D16>;
constexpr int kBytes = hn::MaxLanes(D8());

struct Share {
    uint8_t centre;
    int16_t scale;
    int16_t gain;  // in 1/32768; negative for all of the weight
};

// The denoised sample plus the input's share of the difference, as one rounding multiplication.
template <bool inPart>
HWY_INLINE V16 Mixed(const Share& share, V16 denoised, V16 difference, V16 near) {
    const D16 d;
    V16 part = hn::Mul(near, hn::Set(d, share.scale));
    if constexpr (inPart) part = hn::MulFixedPoint15(part, hn::Set(d, share.gain));
    return hn::Add(denoised, hn::MulFixedPoint15(difference, part));
}

template <bool inPart>
HWY_INLINE V8 RemixVector(const Share& share, V8 denoised, V8 map, V8 luma) {
    const D16 d16;
    const V8 centre = hn::Set(D8(), share.centre);
    const auto near = SplitBytes(hn::SaturatedSub(centre, Distance(centre, map)));
    const auto from = SplitBytes(denoised);
    const auto differences = Differences(luma, denoised);
    const auto mixed = [&](auto wordsFrom, auto difference, auto wordsNear) HWY_ATTR {
        return Mixed<inPart>(share, hn::BitCast(d16, wordsFrom), difference, hn::BitCast(d16, wordsNear));
    };
    return JoinBytes(WordPair<V16>{mixed(from.a, differences.a, near.a), mixed(from.b, differences.b, near.b)});
}

template <bool inPart>
void RemixRun(const Share& shared, const uint8_t* denoised, const uint8_t* map, int count, uint8_t* luma) {
    const Share share = shared;
    const D8 d;
    const int whole = count - count % kBytes;
    const auto remix = [&](const uint8_t* own, const uint8_t* near, uint8_t* at) HWY_ATTR {
        hn::StoreU(RemixVector<inPart>(share, hn::LoadU(d, own), hn::LoadU(d, near), hn::LoadU(d, at)), d, at);
    };
    for (int x = 0; x < whole; x += kBytes) remix(denoised + x, map + x, luma + x);
    if (whole == count) return;
    uint8_t last[3][kBytes] = {};
    memcpy(last[0], denoised + whole, count - whole);
    memcpy(last[1], map + whole, count - whole);
    memcpy(last[2], luma + whole, count - whole);
    remix(last[0], last[1], last[2]);
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
        sweepRow<8>(args.width, [&](int first, int count) {
            (share.gain < 0 ? RemixRun<false> : RemixRun<true>)(share, denoised + first, map + first, count,
                                                                luma + first);
        });
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
