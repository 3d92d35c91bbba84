// A plane of bytes, whoever owns it.
#pragma once

#include <cstdint>

namespace eis {

struct PlaneView {
    uint8_t* data;
    int32_t pitch;  // bytes from row to row
    int32_t width;
    int32_t height;
};

}  // namespace eis
