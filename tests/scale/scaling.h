// Pictures in device memory and the call that scales one to another.
#pragma once

#include <algorithm>

#include "include/acore_api.h"
#include "tests/harness/content.h"
#include "tests/harness/device_space.h"
#include "tests/harness/planes.h"

namespace eis::test {

// A picture whose planes end at a protected page with their last sample. Samples and padding start as canary.
struct ScalePicture {
    ScalePicture(int width, int height, int lumaStride)
        : stride(lumaStride),
          luma(std::max(width, 0), std::max(height, 0), stride, {}, true),
          chroma(std::max(width, 0) / 2, std::max(height, 0) / 2 * 2, (stride / 2 + 127) / 128 * 128, {}, true) {}

    int stride;
    Plane<uint8_t> luma;
    Plane<uint8_t> chroma;  // the second plane's rows stand right behind the first's
};

// The block for a call, with buffers Yin, Uvin, Yout and Uvout in the space. The source holds a picture.
class ScaleCall {
  public:
    ScaleCall(int srcW, int srcH, int dstW, int dstH, int border = 2)
        : source(srcW, srcH, std::max(srcW, 0) + 5), destination(dstW, dstH, std::max(dstW, 0) + 3) {
        fill(source.luma, Content::kNatural, 1);
        fill(source.chroma, Content::kNatural, 2);
        block = {dstW,
                 dstH,
                 destination.stride,
                 srcW,
                 srcH,
                 source.stride,
                 border,
                 place("Yin", source.luma),
                 place("Uvin", source.chroma),
                 place("Yout", destination.luma),
                 place("Uvout", destination.chroma)};
    }

    ret_status run() const { return Scale_Bilinear_AcoreAPI(&block); }
    DeviceSpace& space() { return space_; }

    ScalePicture source;
    ScalePicture destination;
    ST_SCALE_BLOCK block{};

  private:
    DeviceAddress place(const char* name, const Plane<uint8_t>& plane) {
        return space_.add(name, plane.data(), plane.size());
    }

    DeviceSpace space_;
};

}  // namespace eis::test
