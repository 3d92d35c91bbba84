// Calls of the three denoise entries: picture, mask, table and scratch under device addresses.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "include/acore_api.h"
#include "libCore/core/source/frame/alignment.h"
#include "tests/harness/content.h"
#include "tests/harness/device_space.h"
#include "tests/harness/planes.h"
#include "tests/harness/watchdog.h"

namespace eis::test {

// Fields at random, at and around the values where something changes.
inline ST_DN_PARAMS_NEW randomSettings(uint64_t seed) {
    Random random(seed);
    const auto oneOf = [&](std::initializer_list<int32_t> values) {
        return values.begin()[random.in(0, static_cast<int64_t>(values.size()) - 1)];
    };
    ST_DN_PARAMS_NEW dn{};
    dn.pIIRImgNum = 0x1234;
    dn.iirImgCount = static_cast<uint8_t>(oneOf({0, 1, 2, 3, 4, 5, 8, 9, 255}));
    dn.lumaMed = oneOf({0, 1});
    dn.lumaLF = oneOf({-100, -90, -60, 0, -2000000000, INT32_MAX});
    dn.lumaHF1 = oneOf({-128, -60, 0, INT32_MIN, 2000000000});
    dn.chromaS = oneOf({-100, -90, -63, -62, -61, -50, -40, -39, 0, 27, 156, INT32_MIN / 10});
    dn.detail = oneOf({-130, -101, -100, -99, -98, -81, -80, -79, -78, -60, -47, -46, 0});
    dn.lumaNrEnable = dn.chromaNrEnable = 1;
    dn.chromaEdgeLevel = static_cast<uint8_t>(oneOf({0, 64, 65, 200, 201, 255}));
    dn.chromaGainIndex = oneOf({0, 1, 2, 5, 9, 10, 11, -7});
    dn.chromaEdgeAlpha = oneOf({-5, 0, 77, 128, 254, 255, 4000});
    return dn;
}

// A plane, what it held before a call, and what it must hold after it.
struct TestPlane {
    Plane<uint8_t> now;
    Plane<uint8_t> input;
    Plane<uint8_t> good;

    // A content with a few levels of noise on it.
    TestPlane(int width, int height, int pitch, Placement::Side side, Content content, uint64_t seed)

        : now(width, height, pitch, {side}, true),
          input(width, height, pitch, {side}, true),
          good(width, height, pitch, {side}, true) {
        std::memset(now.data(), 0x5a, now.size());
        fill(now, content, seed, 20, 235);
        Random random(seed);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) now.at(x, y) = static_cast<uint8_t>(now.at(x, y) + random.in(-9, 9));
        }
        input.copyFrom(now);
    }
};

// Luma, first and second chroma.
class TestPicture {
  public:
    int height;
    TestPlane planes[3];

    TestPicture(int width, int h, int chromaPitch, Placement::Side side, Content content, uint64_t seed)
        : height(h),
          planes{{width, h, stride128(width), side, content, seed},
                 {width / 2, h / 2, chromaPitch, side, content, seed + 1},
                 {width / 2, h / 2, chromaPitch, side, content, seed + 2}} {}

    bool isBanded() const { return height >= 256; }

    // Puts the inputs back; keeps what there is as what must be.
    void restore() {
        for (const TestPlane& plane : planes) plane.now.copyFrom(plane.input);
    }
    void keepGood() {
        for (const TestPlane& plane : planes) plane.good.copyFrom(plane.now);
    }

    // Whole buffers, padding included.
    testing::AssertionResult isGood() const { return holds(&TestPlane::good); }
    testing::AssertionResult untouched() const { return holds(&TestPlane::input); }

    // Which picture the core rows of band k show in a plane, of a height that is a multiple of 16.
    enum class Core { kInput, kGood, kMixed };
    Core coreOf(int plane, int k) const {
        const TestPlane& p = planes[plane];
        const int rows = p.now.height() / 4;
        bool isInput = true;
        bool isGood = true;
        for (int y = k * rows; y < (k + 1) * rows; ++y) {
            isInput = isInput && std::memcmp(p.now.row(y), p.input.row(y), p.now.width()) == 0;
            isGood = isGood && std::memcmp(p.now.row(y), p.good.row(y), p.now.width()) == 0;
        }
        return isInput ? Core::kInput : isGood ? Core::kGood : Core::kMixed;
    }

  private:
    testing::AssertionResult holds(Plane<uint8_t> TestPlane::*what) const {
        for (const TestPlane& plane : planes) {
            if (const auto same = samePlanes(plane.*what, plane.now); !same) return same;
        }
        return testing::AssertionSuccess();
    }
};

enum Entry { kSpatial, kChromaHigh, kChromaLow };
inline constexpr Entry kEntries[] = {kSpatial, kChromaHigh, kChromaLow};

// What a call is made of beside its settings, which the seed draws.
struct Shape {
    int width;
    int height;
    Content content = Content::kNatural;
    int stride = 0;  // of the chroma entries; 0: (width + 127) & ~127
    Placement::Side side = Placement::kAtEnd;

    int pitch() const { return stride != 0 ? stride : stride128(width); }
};

struct DenoiseCall {
    Entry entry;
    ST_MULTIDENOISE_PARAMS_IN_DEV in{};
    ST_MULTIDENOISE_PARAMS_OUT_DEV out{};
    ST_DN_PARAMS_NEW& dn = in.stDNParams;
    TestPicture picture;
    Plane<uint8_t> mask;  // one sample where none is read
    GuardedMemory table{eisSizeOfChromaThresholds()};
    GuardedMemory scratch;
    DeviceSpace space;
    ST_SPATIAL_NR_CALL_BLOCK spatial{};
    ST_CHROMA_CALL_BLOCK chroma{};

    DenoiseCall(Entry which, const Shape& s, uint64_t seed)
        : entry(which),
          picture(s.width, s.height, stride128((which == kSpatial ? s.width : s.pitch()) >> 1), s.side, s.content,
                  seed),
          // Bands start at mask rows of the stride and read rows of another pitch, so the plane has the wider one.
          mask(which == kChromaLow ? s.width : 1, which == kChromaLow ? s.height : 1,
               std::max(s.pitch(), stride128(s.width)), {s.side}, true),
          scratch(which == kSpatial ? 1 : chromaScratchSize(s.width, s.height), {s.side}) {
        dn = randomSettings(seed);
        std::memset(mask.data(), 0x5a, mask.size());  // bands read padding, too
        fill(mask, Content::kNatural, seed + 3);
        // Thresholds to a few levels at the strengths above.
        Random random(seed);
        for (int word = 0; word < 64; ++word) {
            const auto value = static_cast<uint32_t>(random.in(0, 400));
            std::memcpy(table.data() + 4 * word, &value, 4);
        }
        DeviceAddress planes[3];
        for (int i = 0; i < 3; ++i) {
            const Plane<uint8_t>& plane = picture.planes[i].now;
            planes[i] = space.add("pData" + std::to_string(i), plane.data(), plane.size());
        }
        dn.pMaskIIR = space.add("mask", mask.data(), mask.size());
        dn.pSpatialChromaNrLUT = space.add("table", table.data(), table.size());
        in.globalMotionState = 71;
        in.waitApFlag = -3;
        out.stPicOut = {s.width, s.height, 99, {planes[0], planes[1], planes[2]}, 0};  // a stride that plays no part
        spatial = {space.addObject("inPara", in), space.addObject("outPara", out)};
        chroma = {space.addObject("dn", dn),
                  space.add("scratch", scratch.data(), scratch.size()),
                  static_cast<int32_t>(scratch.size()),
                  s.width,
                  s.height,
                  s.pitch(),
                  planes[1],
                  planes[2]};
    }

    ret_status run() {
        const Watchdog watchdog("the bands of a denoise entry do not meet or end");
        if (entry == kSpatial) return SpatialNrHLMain_ACoreApi(&spatial);
        return entry == kChromaLow ? ChromaLowLevelMainCall_2(&chroma) : ChromaHighLevelMainCall_2(&chroma);
    }

    // Makes what a run leaves what later ones must leave.
    void learn() {
        picture.restore();
        EXPECT_EQ(run(), retStsOK);
        picture.keepGood();
        picture.restore();
    }
};

}  // namespace eis::test
