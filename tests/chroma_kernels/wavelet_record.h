// A record of the wavelet denoiser with planes of its own.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

#include "libCore/core/source/neon/wavelet/wavelet_dispatch.h"
#include "tests/chroma_kernels/cases.h"

namespace eis::test {

struct WaveletPlanes {
    Twins<int16_t> samples;
    Twins<uint16_t> thresholds;
    Twins<int16_t> work;
    Twins<uint8_t> firstLevel;

    explicit WaveletPlanes(const KernelCase& c)
        : samples(c, c.pitch(), 0, 32640, 5),
          thresholds(c, c.width, 0, 65535, 6),
          work(c, c.width, 3 * c.height, c.width),
          firstLevel(c, c.width, 2 * c.height, c.width) {}

    // All that is to be read afterwards; of the working memory that nothing but it was written.
    testing::AssertionResult agree() const {
        for (const auto& result :
             {samples.agree(), thresholds.agree(), firstLevel.agree(), work.vectors.paddingIntact()}) {
            if (!result) return result;
        }
        return testing::AssertionSuccess();
    }
};

// What both forms read.
struct WaveletInputs {
    KernelCase::Filled<uint8_t> edges;
    KernelCase::Filled<uint8_t> mask;
    GuardedMemory table;
    uint8_t window[2];  // high, low
    int32_t thrBase;
    int levelShift;

    explicit WaveletInputs(const KernelCase& c)
        : edges(c.bytes(c.width, c.height, c.width, 0)),
          mask(c.bytes(c.width, c.height, c.width, 1)),
          table(160, {Placement::kAtStart, static_cast<int>(c.seed % 4)}) {
        Random random(c.seed);
        for (int word = 0; word < 40; ++word) {
            // Up to thresholds of a quarter of the range; now and then beyond all.
            const auto value = static_cast<uint32_t>(random.in(0, word % 9 == 8 ? UINT32_MAX : 800));
            std::memcpy(table.data() + 4 * word, &value, 4);
        }
        window[0] = static_cast<uint8_t>(random.in(0, 255));
        window[1] = static_cast<uint8_t>(random.in(0, 4) == 0 ? window[0] : random.in(0, 255));
        thrBase = static_cast<int32_t>(random.in(0, 4) == 0 ? random.in(INT32_MIN, INT32_MAX) : random.in(0, 4096));
        levelShift = static_cast<int>(random.in(1, 8));
    }

    ST_WAVELET_DN_PARAMS record(const KernelCase& c, const WaveletPlanes& planes, bool plain) const {
        const auto pick = [plain](const auto& twins) { return plain ? twins.plain.data() : twins.vectors.data(); };
        ST_WAVELET_DN_PARAMS made{};
        made.pSamples = pick(planes.samples);
        made.sampleStride = c.pitch();
        made.pEdgeMap = edges.data();
        made.width = c.width;
        made.height = c.height;
        made.chromaThrBase = thrBase;
        made.edgeHigh = window[0];
        made.edgeLow = window[1];
        made.shrinkLow = 76;
        made.satGain = static_cast<uint16_t>(c.seed % 103);
        made.shrinkHigh = 327;
        made.pThresholds = pick(planes.thresholds);
        made.pWork = pick(planes.work);
        made.pChromaLut = table.data();
        made.pMaskQuarter = mask.data();
        made.levelShift = levelShift;
        made.pFirstLevel = pick(planes.firstLevel);
        return made;
    }
};

}  // namespace eis::test
