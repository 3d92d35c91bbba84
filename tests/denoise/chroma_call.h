// A call of a chroma entry: planes, mask, table and scratch under device addresses, and what must come out.
#pragma once

#include <algorithm>
#include <cstdint>

#include "include/acore_api.h"
#include "tests/denoise/reference.h"
#include "tests/denoise/test_picture.h"
#include "tests/harness/device_space.h"

namespace eis::test {

struct ChromaShape {
    int width;
    int height;
    bool low;
    int stride = 0;  // 0: (width + 127) & ~127
    Placement::Side side = Placement::kAtEnd;

    int pitch() const { return stride != 0 ? stride : stride128(width); }
    int chromaPitch() const { return stride128(pitch() >> 1); }
};

struct ChromaCallFixture {
    ChromaShape shape;
    ST_DN_PARAMS_NEW dn;
    TestPicture picture;
    Plane<uint8_t> mask;
    ChromaTable table;
    GuardedMemory scratch;
    DeviceSpace space;
    ST_CHROMA_CALL_BLOCK block{};

    // Bands start at mask rows of the stride and read rows of another pitch, so the plane has the wider one.
    ChromaCallFixture(const ChromaShape& s, uint64_t seed, Content content = Content::kNatural)
        : shape(s),
          dn(randomSettings(seed)),
          picture(s.width, s.height, s.chromaPitch(), {s.side}, content, seed),
          mask(s.width, s.height, std::max(s.pitch(), stride128(s.width)), {s.side}, true),
          table(seed),
          scratch(chromaScratchSize(s.width, s.height), {s.side}) {
        fill(mask, Content::kNatural, seed + 3);
        dn.pMaskIIR = space.add("mask", mask.data(), mask.size());
        dn.pSpatialChromaNrLUT = space.add("table", table.memory.data(), 256);
        dn.pIIRImgNum = 0x1234;
        block.stDNParams = space.addObject("dn", dn);
        block.pMemoryManagement = space.add("scratch", scratch.data(), scratch.size());
        block.memSize = static_cast<int32_t>(scratch.size());
        block.width = s.width;
        block.height = s.height;
        block.stride = s.pitch();
        const Plane<uint8_t>& first = picture.planes[1].now;
        const Plane<uint8_t>& second = picture.planes[2].now;
        block.pData1 = space.add("pData1", first.data(), first.size());
        block.pData2 = space.add("pData2", second.data(), second.size());
    }

    ret_status run() { return shape.low ? ChromaLowLevelMainCall_2(&block) : ChromaHighLevelMainCall_2(&block); }

    // Computes what the picture must hold.
    void expect() {
        picture.startExpected();
        ST_DN_PARAMS_VA params = DnParamsOf(dn);
        params.pSpatialChromaNrLUT = table.memory.data();
        referenceDenoise({shape.width,
                          shape.height,
                          nullptr,
                          {picture.planes[1].expected.data(), picture.planes[2].expected.data()},
                          shape.chromaPitch(),
                          shape.low ? mask.data() : nullptr,
                          shape.pitch()},
                         params);
    }

    testing::AssertionResult asExpected() const {
        const auto same = picture.asExpected();
        return same ? scratch.surroundingsIntact() : same;
    }
};

}  // namespace eis::test
