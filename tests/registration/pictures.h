// Pictures at the pitches of registration.
#pragma once

#include "include/st_picture.h"
#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/neon/warp/mirror_fill.h"
#include "libCore/core/source/neon/warp/warp_geometry.h"
#include "tests/harness/content.h"
#include "tests/harness/planes.h"

namespace eis::test {

// Three planes of whole rows between protected pages.
struct YuvPicture {
    YuvPicture(int pictureWidth, int pictureHeight, Placement placement = {})
        : YuvPicture(pictureWidth, pictureHeight, stride128(pictureWidth), placement) {}
    YuvPicture(int pictureWidth, int pictureHeight, int lumaPitch, Placement placement)
        : width(pictureWidth),
          height(pictureHeight),
          planes{{lumaPitch, height, lumaPitch, placement},
                 {warpChromaPitch(lumaPitch), height / 2, warpChromaPitch(lumaPitch), placement},
                 {warpChromaPitch(lumaPitch), height / 2, warpChromaPitch(lumaPitch), placement}} {}

    ST_PICTURE picture() const {
        return {width, height, planes[0].pitch(), {planes[0].data(), planes[1].data(), planes[2].data()}, 2};
    }
    void fillAll(Content content, uint64_t seed) const {
        for (int i = 0; i < 3; ++i) fill(planes[i], content, seed + i);
    }
    void copyFrom(const YuvPicture& other) const {
        for (int i = 0; i < 3; ++i) planes[i].copyFrom(other.planes[i]);
    }
    uint64_t digestAll() const {
        uint64_t value = 0;
        for (const Plane<uint8_t>& plane : planes) value = value * 31 + digest(plane);
        return value;
    }

    int width;
    int height;
    Plane<uint8_t> planes[3];
};

inline testing::AssertionResult samePictures(const YuvPicture& a, const YuvPicture& b) {
    for (int i = 0; i < 3; ++i) {
        const testing::AssertionResult same = samePlanes(a.planes[i], b.planes[i]);
        if (!same) return testing::AssertionFailure() << "plane " << i << ": " << same.message();
    }
    return testing::AssertionSuccess();
}

}  // namespace eis::test
