// A planar YUV 4:2:0 picture inside the library.
#pragma once

#include <cstddef>
#include <cstdint>

namespace eis {

// Packed so that records which hold pictures keep their layout of 32-bit words on every target.
#pragma pack(push, 4)
struct ST_PICTURE {
    int32_t width;      // luma pixels
    int32_t height;     // luma pixels
    int32_t stride;     // luma bytes a row
    uint8_t* pData[3];  // luma, first chroma, second chroma; the caller's planes
    int32_t format;
};
#pragma pack(pop)
static_assert(sizeof(ST_PICTURE) == 16 + 3 * sizeof(void*) && offsetof(ST_PICTURE, pData) == 12);

}  // namespace eis
