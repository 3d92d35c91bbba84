// A call of a chroma entry: planes, mask, table and scratch under device addresses, and what must come out.
#pragma once

#include <cstdint>
#include <optional>

#include "include/acore_api.h"
#include "libCore/core/source/arithmetic.h"
#include "tests/denoise/reference.h"
#include "tests/denoise/settings.h"
#include "tests/harness/device_space.h"
#include "tests/harness/planes.h"

namespace eis::test {

struct ChromaShape {
    int width;
    int height;
    bool low;
    int stride = 0;  // 0: (width + 127) & ~127
    Placement::Side side = Placement::kAtEnd;

    int pitch() const { return stride != 0 ? stride : stride128(width); }
};

class ChromaCallFixture {
  public:
    ChromaShape shape;
    ST_DN_PARAMS_NEW dn;
    Plane<uint8_t> planes[2];
    Plane<uint8_t> inputs[2];    // what the planes held before the call
    Plane<uint8_t> expected[2];  // what they must hold after it
    Plane<uint8_t> mask;
    ChromaTable table;
    GuardedMemory scratch;
    DeviceSpace space;
    ST_CHROMA_CALL_BLOCK block{};

    ChromaCallFixture(const ChromaShape& s, uint64_t seed, Content content = Content::kNatural)
        : shape(s),
          dn(randomSettings(seed)),
          planes{chromaPlane(), chromaPlane()},
          inputs{chromaPlane(), chromaPlane()},
          expected{chromaPlane(), chromaPlane()},
          mask(s.width, s.height, maskPitch(), {s.side}, true),
          table(seed),
          scratch(chromaScratchSize(s.width, s.height), {s.side}) {
        fill(mask, Content::kNatural, seed + 2);
        for (int i = 0; i < 2; ++i) {
            fillPicture(planes[i], content, seed + i);
            inputs[i].copyFrom(planes[i]);
        }
        dn.pMaskIIR = space.add("mask", mask.data(), mask.size());
        dn.pSpatialChromaNrLUT = space.add("table", table.memory.data(), 256);
        dn.pIIRImgNum = 0x1234;
        block.stDNParams = space.addObject("dn", dn);
        block.pMemoryManagement = space.add("scratch", scratch.data(), scratch.size());
        block.memSize = static_cast<int32_t>(scratch.size());
        block.width = s.width;
        block.height = s.height;
        block.stride = s.pitch();
        block.pData1 = space.add("pData1", planes[0].data(), planes[0].size());
        block.pData2 = space.add("pData2", planes[1].data(), planes[1].size());
    }

    ret_status run() { return shape.low ? ChromaLowLevelMainCall_2(&block) : ChromaHighLevelMainCall_2(&block); }

    // Puts the inputs back into the planes.
    void restore() {
        for (int i = 0; i < 2; ++i) planes[i].copyFrom(inputs[i]);
    }

    // Computes `expected` from the inputs.
    void expect() {
        for (int i = 0; i < 2; ++i) expected[i].copyFrom(inputs[i]);
        ST_DN_PARAMS_VA params = DnParamsOf(dn);
        params.pSpatialChromaNrLUT = table.memory.data();
        referenceDenoise(picture(), params);
    }

    testing::AssertionResult asExpected() const {
        for (int i = 0; i < 2; ++i) {
            if (const auto same = samePlanes(expected[i], planes[i]); !same) return same;
        }
        return scratch.surroundingsIntact();
    }
    testing::AssertionResult untouched() const {
        const auto first = samePlanes(inputs[0], planes[0]);
        return first ? samePlanes(inputs[1], planes[1]) : first;
    }

    // Of the rows of band k's core: which of the two pictures they show.
    enum class Core { kInput, kExpected, kMixed };
    Core coreOf(int k) const {
        const int rows = shape.height / 8;
        bool isInput = true;
        bool isExpected = true;
        for (int i = 0; i < 2; ++i) {
            for (int y = k * rows; y < (k + 1) * rows; ++y) {
                const size_t bytes = planes[i].width();
                isInput = isInput && std::memcmp(planes[i].row(y), inputs[i].row(y), bytes) == 0;
                isExpected = isExpected && std::memcmp(planes[i].row(y), expected[i].row(y), bytes) == 0;
            }
        }
        return isInput ? Core::kInput : isExpected ? Core::kExpected : Core::kMixed;
    }

    ReferencePicture picture() {
        return {shape.width,
                shape.height,
                nullptr,
                {expected[0].data(), expected[1].data()},
                stride128(shape.pitch() >> 1),
                shape.low ? mask.data() : nullptr,
                shape.pitch()};
    }

  private:
    Plane<uint8_t> chromaPlane() const {
        return Plane<uint8_t>(shape.width / 2, shape.height / 2, stride128(shape.pitch() >> 1), {shape.side}, true);
    }
    // Bands start at rows of the stride and read rows of another pitch, so the plane has the wider one.
    int maskPitch() const { return std::max(shape.pitch(), stride128(shape.width)); }
};

}  // namespace eis::test
