// Pictures in device memory, laid out as the entries expect them.
#pragma once

#include "host/dsp/dsp_arena.h"
#include "host/picture/picture.h"

namespace eishost {

// One buffer a plane, so that each plane must be made coherent by itself.
struct DevicePicture {
    int width = 0;
    int height = 0;
    DeviceAddress planes[3] = {};

    int pitch(int plane) const { return eisPitch(plane == 0 ? width : width / 2); }
    int rows(int plane) const { return plane == 0 ? height : height / 2; }
    std::size_t bytes(int plane) const { return eisSizeOfPlane(pitch(plane), rows(plane)); }
    ST_PICTURE_DEV block() const;
};

// Buffers named `field` + ".pData[k]"; the second form writes `picture` to their DSP side.
DevicePicture makeDevicePicture(DspArena& arena, int width, int height, const std::string& field);
DevicePicture uploadPicture(DspArena& arena, const Picture& picture, const std::string& field);

// The first `planeCount` planes as the DSP sees them. Chroma that is not asked for is grey.
Picture downloadPicture(const DspArena& arena, const DevicePicture& device, int planeCount = 3);

// Rows between a tight plane and a pitched one.
void copyRows(std::uint8_t* to, int toPitch, const std::uint8_t* from, int fromPitch, int width, int rows);

}  // namespace eishost
