#include "host/dsp/device_picture.h"

#include <algorithm>

namespace eishost {

namespace {

constexpr int kPlanarFormat = 2;
constexpr std::uint8_t kGrey = 128;

}  // namespace

ST_PICTURE_DEV DevicePicture::block() const {
    ST_PICTURE_DEV words{};
    words.width = width;
    words.height = height;
    words.stride = pitch(0);
    std::copy(std::begin(planes), std::end(planes), std::begin(words.pData));
    words.format = kPlanarFormat;
    return words;
}

void copyRows(std::uint8_t* to, int toPitch, const std::uint8_t* from, int fromPitch, int width, int rows) {
    for (int row = 0; row < rows; ++row) {
        std::copy_n(from + static_cast<std::size_t>(row) * fromPitch, width,
                    to + static_cast<std::size_t>(row) * toPitch);
    }
}

DevicePicture makeDevicePicture(DspArena& arena, int width, int height, const std::string& field) {
    DevicePicture device;
    device.width = width;
    device.height = height;
    for (int plane = 0; plane < 3; ++plane) {
        device.planes[plane] = arena.allocate(device.bytes(plane), field + ".pData[" + std::to_string(plane) + "]");
    }
    return device;
}

DevicePicture uploadPicture(DspArena& arena, const Picture& picture, const std::string& field) {
    const DevicePicture device = makeDevicePicture(arena, picture.width, picture.height, field);
    for (int plane = 0; plane < 3; ++plane) {
        const int width = plane == 0 ? picture.width : picture.chromaWidth();
        copyRows(arena.dspSide(device.planes[plane]), device.pitch(plane), picture.planes[plane].data(), width, width,
                 device.rows(plane));
    }
    return device;
}

Picture downloadPicture(const DspArena& arena, const DevicePicture& device, int planeCount) {
    Picture picture(device.width, device.height);
    for (int plane = 0; plane < 3; ++plane) {
        if (plane >= planeCount) {
            std::fill(picture.planes[plane].begin(), picture.planes[plane].end(), kGrey);
            continue;
        }
        const int width = plane == 0 ? picture.width : picture.chromaWidth();
        copyRows(picture.planes[plane].data(), width, arena.dspSide(device.planes[plane]), device.pitch(plane), width,
                 device.rows(plane));
    }
    return picture;
}

}  // namespace eishost
