// The part of the reference frame that a warp fills.
#pragma once

#include <cstdint>

namespace eis {

// A rectangle in pixels of the reference frame.
struct ST_MOTION_AREA {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
};

}  // namespace eis
