// Of the planes that a warp reads: their pitch, offsets and weights in them, and the test for contiguous groups.
#pragma once

#include <cstdint>

#include "libCore/core/source/frame/alignment.h"

namespace eis {

// Chroma pitch of a picture whose luma pitch is `stride`.
inline int32_t warpChromaPitch(int32_t stride) {
    return stride128(stride / 2);
}

inline constexpr int kWarpGroupColumns = 8;
inline constexpr int kWarpGroupPositions = 4;

// Fraction of a coordinate in 1/128, saturated to unsigned 16 bits: a negative one becomes 0.
inline uint16_t warpFraction(float coordinate, int32_t whole) {
    const int64_t fraction = int64_t{truncSat32(coordinate * 128.0F)} - int64_t{whole} * 128;
    return static_cast<uint16_t>(fraction < 0 ? 0 : fraction > 65535 ? 65535 : fraction);
}

inline int32_t warpOffset(int32_t ix, int32_t iy, int32_t stride) {
    return wrapAdd(ix, wrapMul(iy, stride));
}

inline int32_t warpChromaOffset(int32_t ix, int32_t iy, int32_t pitch) {
    const auto half = [](int32_t i) { return static_cast<int32_t>((int64_t{i} + 1) >> 1); };
    return wrapAdd(half(ix), wrapMul(half(iy), pitch));
}

// The sum alone decides, so unequal steps that happen to add up count as contiguous too.
inline bool warpContiguous(const int32_t* offsets) {
    int32_t sum = 0;
    for (int j = 0; j < kWarpGroupPositions; ++j) {
        const int64_t step = int64_t{offsets[j]} - offsets[0];
        sum += static_cast<int32_t>(step < INT16_MIN ? INT16_MIN : step > INT16_MAX ? INT16_MAX : step);
    }
    return sum == 12;
}

}  // namespace eis
