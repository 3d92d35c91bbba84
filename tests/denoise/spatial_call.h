// A call of the high-level entry: picture, mask and table under device addresses, and what must come out.
#pragma once

#include <cstdint>

#include "include/acore_api.h"
#include "tests/denoise/reference.h"
#include "tests/denoise/test_picture.h"
#include "tests/harness/device_space.h"

namespace eis::test {

struct SpatialCallFixture {
    ST_MULTIDENOISE_PARAMS_IN_DEV in{};
    ST_MULTIDENOISE_PARAMS_OUT_DEV out{};
    ST_DN_PARAMS_NEW& dn = in.stDNParams;
    TestPicture picture;
    uint8_t mask = 0;  // converted, never read
    ChromaTable table;
    DeviceSpace space;
    ST_SPATIAL_NR_CALL_BLOCK block{};

    SpatialCallFixture(int width, int height, uint64_t seed, Content content = Content::kNatural,
                       Placement placement = {})
        : picture(width, height, stride128(width >> 1), placement, content, seed), table(seed) {
        dn = randomSettings(seed);
        dn.pMaskIIR = space.addObject("mask", mask);
        dn.pSpatialChromaNrLUT = space.add("table", table.memory.data(), 256);
        dn.pIIRImgNum = 0x1234;
        in.globalMotionState = 71;
        in.waitApFlag = -3;
        out.stPicOut.width = width;
        out.stPicOut.height = height;
        out.stPicOut.stride = 99;  // plays no part
        for (int i = 0; i < 3; ++i) {
            const Plane<uint8_t>& plane = picture.planes[i].now;
            out.stPicOut.pData[i] = space.add("pData" + std::to_string(i), plane.data(), plane.size());
        }
        block.inPara = space.addObject("inPara", in);
        block.outPara = space.addObject("outPara", out);
    }

    ret_status run() { return SpatialNrHLMain_ACoreApi(&block); }

    // Computes what the picture must hold.
    void expect() {
        picture.startExpected();
        ST_DN_PARAMS_VA params = DnParamsOf(dn);
        params.pSpatialChromaNrLUT = table.memory.data();
        referenceDenoise({picture.width,
                          picture.height,
                          picture.planes[0].expected.data(),
                          {picture.planes[1].expected.data(), picture.planes[2].expected.data()},
                          stride128(picture.width >> 1),
                          nullptr,
                          0},
                         params);
    }
};

}  // namespace eis::test
