// Denoise settings and the memory that all three entries take beside their planes.
#pragma once

#include <cstdint>
#include <cstring>

#include "highLevel/src/band/denoise_params.h"
#include "tests/harness/content.h"
#include "tests/harness/device_space.h"
#include "tests/harness/planes.h"

namespace eis::test {

// Fields at random, at and around the values where something changes.
inline ST_DN_PARAMS_NEW randomSettings(uint64_t seed) {
    Random random(seed);
    const auto oneOf = [&](std::initializer_list<int32_t> values) {
        return values.begin()[random.in(0, static_cast<int64_t>(values.size()) - 1)];
    };
    ST_DN_PARAMS_NEW dn{};
    dn.iirImgCount = static_cast<uint8_t>(oneOf({0, 1, 2, 3, 4, 5, 8, 9, 255}));
    dn.lumaMed = oneOf({0, 1});
    dn.lumaLF = oneOf({-100, -90, -60, 0, -2000000000});
    dn.lumaHF1 = oneOf({-128, -60, 0, 2000000000});
    dn.chromaS = oneOf({-100, -90, -63, -62, -61, -50, -40, -39, 0, 27, 156});
    dn.detail = oneOf({-130, -101, -100, -99, -80, -79, -78, -60, -47, 0});
    dn.lumaNrEnable = 1;
    dn.chromaNrEnable = 1;
    dn.chromaEdgeLevel = static_cast<uint8_t>(oneOf({0, 64, 65, 200, 201, 255}));
    dn.chromaGainIndex = oneOf({0, 1, 2, 5, 9, 10, 11, -7});
    dn.chromaEdgeAlpha = oneOf({-5, 0, 77, 128, 254, 255, 4000});
    return dn;
}

// The chroma table, ending at a protected page: thresholds to a few levels at the strengths above.
struct ChromaTable {
    GuardedMemory memory{256};

    explicit ChromaTable(uint64_t seed) {
        Random random(seed);
        for (int word = 0; word < 64; ++word) {
            const auto value = static_cast<uint32_t>(random.in(0, 400));
            std::memcpy(memory.data() + 4 * word, &value, 4);
        }
    }
};

// A content with a few levels of noise on it.
inline void fillPicture(const Plane<uint8_t>& plane, Content content, uint64_t seed) {
    fill(plane, content, seed, 20, 235);
    Random random(seed);
    for (int y = 0; y < plane.height(); ++y) {
        for (int x = 0; x < plane.width(); ++x) {
            plane.at(x, y) = static_cast<uint8_t>(plane.at(x, y) + random.in(-9, 9));
        }
    }
}

}  // namespace eis::test
