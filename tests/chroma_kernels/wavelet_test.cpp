#include "libCore/core/source/neon/wavelet/threshold_map.h"
#include "libCore/core/source/neon/wavelet/wavelet_smooth.h"
#include "libCore/core/source/neon/wavelet/wavelet_sweep.h"
#include "libCore/core/source/neon/wavelet/wavelet_transform.h"
#include "tests/harness/kernel_cases.h"

namespace eis::test {
namespace {

// A record of the wavelet denoiser with planes of its own.
struct WaveletRecord : ST_WAVELET_DN_PARAMS {
    explicit WaveletRecord(const KernelCase& c)
        : ST_WAVELET_DN_PARAMS{},
          edges(c.bytes(c.width, c.height, c.width, 0)),
          mask(c.bytes(c.width, c.height, c.width, 1)),
          table(160, {Placement::kAtStart, static_cast<int>(c.seed % 4)}),
          samples(c.filled<int16_t>(c.width, c.height, c.pitch(), 5, 0, 32640)),
          thresholds(c.filled<uint16_t>(c.width, c.height, c.width, 6, 0, c.seed % 3 == 0 ? 65535 : 4096)),
          work(c.empty<int16_t>(c.width, 3 * c.height, c.width)),
          first(c.empty<uint8_t>(c.width, 2 * c.height, c.width)) {
        Random random(c.seed);
        for (int word = 0; word < 40; ++word) {
            // Up to thresholds of a quarter of the range; now and then beyond all.
            const auto value = static_cast<uint32_t>(random.in(0, word % 9 == 8 ? UINT32_MAX : 800));
            std::memcpy(table.data() + 4 * word, &value, 4);
        }
        pSamples = samples.data();
        sampleStride = c.pitch();
        pEdgeMap = edges.data();
        width = c.width;
        height = c.height;
        edgeHigh = static_cast<uint8_t>(random.in(0, 255));
        edgeLow = static_cast<uint8_t>(random.in(0, 4) == 0 ? edgeHigh : random.in(0, 255));
        chromaThrBase =
            static_cast<int32_t>(random.in(0, 4) == 0 ? random.in(INT32_MIN, INT32_MAX) : random.in(0, 4096));
        levelShift = static_cast<int>(random.in(1, 8));
        shrinkLow = 76;
        satGain = static_cast<uint16_t>(c.seed % 103);
        shrinkHigh = 327;
        pThresholds = thresholds.data();
        pWork = work.data();
        pChromaLut = table.data();
        pMaskQuarter = mask.data();
        pFirstLevel = first.data();
    }

    KernelCase::Filled<uint8_t> edges, mask;
    GuardedMemory table;
    KernelCase::Filled<int16_t> samples;
    KernelCase::Filled<uint16_t> thresholds;
    Plane<int16_t> work;
    Plane<uint8_t> first;
};

TEST(ThresholdMap, FormsAgree) {
    expectFormsAgree(4433053903869305831u, [](const KernelCase& c, bool plain) {
        WaveletRecord record(c);
        auto byEdges = c.empty<uint16_t>(c.width, c.height, c.width);
        auto byMotion = c.empty<uint16_t>(c.width, c.height, c.width);
        record.pThresholds = byEdges.data();
        (plain ? WaveletMaskMap_plain : WaveletMaskMap)(record);
        record.pThresholds = byMotion.data();
        (plain ? WaveletMotionMap_plain : WaveletMotionMap)(record);
        return std::tuple(std::move(byEdges), std::move(byMotion));
    });
}

// Some rows of a plane, in half of the cases down to the last one, whose filters differ. Tables whose thresholds fit
// 16-bit steps and such as do not, maps likewise, details as large as the floor, and floors and gains that no caller
// has. At every fifth size the rings lack room, and the plain form steps in.
TEST(WaveletSweep, FormsAgree) {
    expectFormsAgree(10290712047893119232u, [](const KernelCase& base, bool plain) {
        KernelCase c = base;
        if (c.height >= 4) c.height += 11 * (c.height - 3);  // beyond the reach of all levels
        WaveletRecord record(c);
        if (c.seed % 8 < 6) record.satGain = static_cast<uint16_t>(c.seed % 41);
        if (c.seed % 8 == 1) record.shrinkLow = static_cast<int16_t>(c.seed * 7919);
        if (c.seed % 8 == 2) record.shrinkHigh = static_cast<int16_t>(c.seed * 104729);
        if (c.seed % 16 == 10) record.shrinkHigh = INT16_MIN;  // twice the thresholds, which go past 16 bits
        const bool flat = c.seed % 8 == 3;                     // details are multiples of eight Q7 steps then
        if (flat) record.shrinkLow = 40;
        const auto source = c.filled<uint8_t>(c.width, c.height, c.width, 7, flat ? 100 : 0, flat ? 101 : 255);
        auto out = c.empty<uint8_t>(c.width, c.height, c.width);
        auto first = c.empty<uint8_t>(c.width, c.height, c.width);
        // Rows that are not wanted stay.
        std::memset(out.data(), 0, out.size());
        std::memset(first.data(), 0, first.size());
        const bool fits = c.seed % 5 != 4;
        const Plane<int16_t> rings(fits ? 136 * (c.width + 32) + 64 : 100, 1);
        const uint64_t before = digest(record.samples);
        Random random(c.seed);
        const int begin = static_cast<int>(random.in(0, c.height - 1));
        const int end = c.seed % 2 == 0 ? c.height : static_cast<int>(random.in(begin + 1, c.height));
        const int pass = c.seed % 4 < 2 ? 1 : 2;
        // Without shrinkage at level 2 alone, the last bit of its low band reaches the samples.
        if (c.seed % 2 == 0) std::memset(record.table.data() + std::size_t(4) * (20 * (pass - 1) + 4), 0, 16);
        (plain ? WaveletDenoiseBytes_plain : WaveletDenoiseBytes)(record, pass, {source.data(), out.data(), begin, end},
                                                                  {rings.data(), rings.width()});
        EXPECT_TRUE(rings.paddingIntact());
        EXPECT_TRUE(record.first.paddingIntact());
        EXPECT_TRUE(plain || !fits || digest(record.samples) == before);
        for (int y = begin; y < end; ++y) {
            std::memcpy(first.row(y), record.first.row(y + (pass - 1) * c.height), c.width);
        }
        return std::tuple(std::move(out), std::move(first));
    });
}

// The plane's form, on the map that pass 1 makes; passes other than the two do nothing.
TEST(WaveletDispatch, KnownPlanes) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        WaveletRecord record(c);
        const auto dispatch = c.seed % 2 == 0 ? WaveletDenoiseDispatch_Mask : WaveletDenoiseDispatch_Ghost;
        for (const int pass : {0, 1, 2, 3}) dispatch(record, pass);
        EXPECT_TRUE(record.work.paddingIntact());
        all.add(c, record.samples);
        all.add(c, record.thresholds);
        all.add(c, record.first);
    });
    EXPECT_EQ(all.value(), 297970836027459020u);
}

// All 16-bit samples; heights that reach past the border zones of the case's step, too. The digest was computed apart
// from this code.
TEST(WaveletSmooth, KnownPlanes) {
    CaseDigest all;
    forEachCase([&](const KernelCase& c) {
        const bool fullRange = c.seed % 4 == 0;
        const int step = 1 << (c.seed % 5);
        const int height = c.height == 7 ? 2 * step + 3 : c.height;
        const auto source =
            c.filled<int16_t>(c.width, height, c.pitch(), 0, fullRange ? -32768 : 0, fullRange ? 32767 : 32640);
        const auto out = c.empty<int16_t>(c.width, height, c.pitch() + 1);
        const auto tmp = c.empty<int16_t>(c.width, height, c.pitch() + 2);
        ST_WAVELET_LEVEL_PARAMS params{source.data(), source.pitch(), out.data(), out.pitch(), tmp.data(),
                                       tmp.pitch(),   c.width,        height,     step + 5};
        WaveletSmooth_neon(&params);
        EXPECT_TRUE(out.isUntouched()) << "no such step";
        params.step = step;
        WaveletSmooth_neon(&params);
        EXPECT_TRUE(out.paddingIntact());
        EXPECT_TRUE(tmp.paddingIntact());
        all.add(c, out);
    });
    EXPECT_EQ(all.value(), 18250989203855874000u);
}

}  // namespace
}  // namespace eis::test
